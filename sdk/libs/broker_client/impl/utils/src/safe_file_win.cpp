#include "utils/src/safe_file.h"

#include "utils/src/file_handle_win.h"
#include "utils/src/wide_text_win.h"

#include <windows.h>

#include <sddl.h>

#include <cstdint>
#include <memory>
#include <random>

namespace kavro {

namespace {

struct FreeLocal {
    void operator()(void *memory) const { LocalFree(memory); }
};
template <class T>
using LocalMemory = std::unique_ptr<T, FreeLocal>;

/// The user that this process acts for, in the form that descriptors are written in.
LocalMemory<wchar_t> current_user() {
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == 0)
        return nullptr;
    const FileHandle owner(token);
    alignas(TOKEN_USER) unsigned char user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD length = sizeof user;
    wchar_t *text = nullptr;
    if (GetTokenInformation(token, TokenUser, user, length, &length) != 0)
        ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER *>(user)->User.Sid, &text);
    return LocalMemory<wchar_t>(text);
}

/// Access for the current user only, whatever the folder's own permissions are.
LocalMemory<void> owner_only() {
    const auto user = current_user();
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (user != nullptr) {
        const std::wstring text = L"D:P(A;;FA;;;" + std::wstring(user.get()) + L")";
        ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1,
                                                             &descriptor, nullptr);
    }
    return LocalMemory<void>(descriptor);
}

bool write_new_file(const std::wstring &path, std::string_view content) {
    const auto descriptor = owner_only();
    if (descriptor == nullptr)
        return false;
    SECURITY_ATTRIBUTES security{sizeof security, descriptor.get(), FALSE};
    const FileHandle file =
        open_file(path, GENERIC_WRITE, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, &security);
    DWORD written = 0;
    // On disk before it gets its name, else a power cut could leave the name with nothing behind
    // it.
    return file != nullptr &&
           WriteFile(file.get(), content.data(), static_cast<DWORD>(content.size()), &written,
                     nullptr) != 0 &&
           written == content.size() && FlushFileBuffers(file.get()) != 0;
}

bool is_folder(const std::wstring &path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// A file that somebody reads at this moment cannot be replaced; readers are soon done.
bool move_over(const std::wstring &from, const std::wstring &to) {
    constexpr ULONGLONG patience_ms = 2000;
    const ULONGLONG start = GetTickCount64();
    while (MoveFileExW(from.c_str(), to.c_str(),
                       MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0) {
        const DWORD error = GetLastError();
        const bool in_use = error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
        if (!in_use || is_folder(to) || GetTickCount64() - start > patience_ms)
            return false;
        Sleep(1);
    }
    return true;
}

} // namespace

std::optional<std::string> read_plain_file(const std::string &path, std::size_t limit) {
    // A link is opened itself; a pipe's other end learns nothing about us.
    const FileHandle file =
        open_file(to_wide(path), GENERIC_READ, OPEN_EXISTING,
                  FILE_FLAG_OPEN_REPARSE_POINT | SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS);
    LARGE_INTEGER size{};
    if (file == nullptr || !is_plain_file(file.get()) || GetFileSizeEx(file.get(), &size) == 0 ||
        static_cast<std::uint64_t>(size.QuadPart) > limit)
        return std::nullopt;
    std::string content(static_cast<std::size_t>(size.QuadPart), '\0');
    DWORD got = 0;
    if (ReadFile(file.get(), content.data(), static_cast<DWORD>(content.size()), &got, nullptr) ==
            0 ||
        got != content.size())
        return std::nullopt;
    return content;
}

std::error_code replace_file(const std::string &path, std::string_view content) {
    const std::wstring target = to_wide(path);
    const std::wstring temporary = target + L"." + std::to_wstring(std::random_device{}());
    if (write_new_file(temporary, content) && move_over(temporary, target))
        return {};
    const DWORD problem = GetLastError();
    const std::error_code failure(static_cast<int>(problem != 0 ? problem : ERROR_WRITE_FAULT),
                                  std::system_category());
    DeleteFileW(temporary.c_str());
    return failure;
}

} // namespace kavro
