#pragma once

#include <windows.h>

#include <memory>
#include <string>

namespace kavro {

struct CloseFile {
    using pointer = HANDLE;
    void operator()(HANDLE file) const { CloseHandle(file); }
};
using FileHandle = std::unique_ptr<HANDLE, CloseFile>;

/// Null when it cannot be opened; GetLastError() says why. Others may go on with the file
/// meanwhile, and replace it.
inline FileHandle open_file(const std::wstring &path, DWORD access, DWORD disposition, DWORD flags,
                            SECURITY_ATTRIBUTES *security = nullptr) {
    constexpr DWORD share_all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file =
        CreateFileW(path.c_str(), access, share_all, security, disposition, flags, nullptr);
    return FileHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

inline bool is_plain_file(HANDLE file) {
    BY_HANDLE_FILE_INFORMATION information{};
    return GetFileType(file) == FILE_TYPE_DISK &&
           GetFileInformationByHandle(file, &information) != 0 &&
           (information.dwFileAttributes &
            (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DEVICE)) == 0;
}

} // namespace kavro
