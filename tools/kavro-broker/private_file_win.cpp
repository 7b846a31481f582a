#include "private_file.h"

#include <windows.h>

#include <sddl.h>

#include <filesystem>
#include <memory>
#include <system_error>

namespace kavro_cli {
namespace {

std::system_error last_error(const std::string &path) {
    return {static_cast<int>(GetLastError()), std::system_category(), path};
}

/// A new file that nobody but its owner may touch.
HANDLE create(const std::filesystem::path &path) {
    PSECURITY_DESCRIPTOR owner_only = nullptr;
    ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:P(A;;FA;;;OW)", SDDL_REVISION_1,
                                                         &owner_only, nullptr);
    const std::unique_ptr<void, decltype(&LocalFree)> holder(owner_only, &LocalFree);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, owner_only, FALSE};
    return CreateFileW(path.c_str(), GENERIC_WRITE, 0, &attributes, CREATE_NEW,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

void write_private_file(const std::string &path, std::string_view content) {
    const std::filesystem::path target(path);
    const std::filesystem::path temporary(path + "." + std::to_string(GetCurrentProcessId()));
    const HANDLE file = create(temporary);
    if (file == INVALID_HANDLE_VALUE)
        throw last_error(path);
    DWORD count = 0;
    const bool written =
        WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &count, nullptr) != 0 &&
        FlushFileBuffers(file) != 0;
    CloseHandle(file);
    if (written && MoveFileExW(temporary.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING) != 0)
        return;
    const auto error = last_error(path);
    DeleteFileW(temporary.c_str());
    throw error;
}

} // namespace kavro_cli
