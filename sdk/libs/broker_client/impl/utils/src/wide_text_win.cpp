#include "utils/src/wide_text_win.h"

#include <windows.h>

namespace kavro {

std::string to_utf8(std::wstring_view text) {
    const auto convert = [text](char *to, int room) {
        return WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), to, room,
                                   nullptr, nullptr);
    };
    std::string converted(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
    convert(converted.data(), static_cast<int>(converted.size()));
    return converted;
}

std::wstring to_wide(std::string_view text) {
    const auto convert = [text](wchar_t *to, int room) {
        return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                                   static_cast<int>(text.size()), to, room);
    };
    std::wstring converted(static_cast<std::size_t>(convert(nullptr, 0)), L'\0');
    convert(converted.data(), static_cast<int>(converted.size()));
    return converted;
}

} // namespace kavro
