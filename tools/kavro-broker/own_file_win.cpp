#include "own_file.h"

#include "utils/src/file_handle_win.h"
#include "utils/src/wide_text_win.h"

#include <windows.h>

#include <aclapi.h>

#include <array>
#include <system_error>

namespace kavro_cli {
namespace {

[[noreturn]] void fail(const std::string &path) {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), path);
}

/// The user that this process acts for; null when that cannot be told.
PSID current_user() {
    alignas(TOKEN_USER) static unsigned char user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == 0)
        return nullptr;
    const kavro::FileHandle owner(token);
    DWORD length = sizeof user;
    const bool told = GetTokenInformation(token, TokenUser, user, length, &length) != 0;
    return told ? reinterpret_cast<const TOKEN_USER *>(user)->User.Sid : nullptr;
}

/// The user, or those who may do everything on the machine anyway.
bool may_write(PSID somebody) {
    const PSID user = current_user();
    return (user != nullptr && EqualSid(somebody, user) != 0) ||
           IsWellKnownSid(somebody, WinLocalSystemSid) != 0 ||
           IsWellKnownSid(somebody, WinBuiltinAdministratorsSid) != 0;
}

bool lets_others_write(PACL list) {
    constexpr DWORD writing = FILE_WRITE_DATA | FILE_APPEND_DATA | DELETE | WRITE_DAC |
                              WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;
    for (DWORD i = 0; i < list->AceCount; ++i) {
        ACCESS_ALLOWED_ACE *entry = nullptr;
        if (GetAce(list, i, reinterpret_cast<void **>(&entry)) == 0)
            return true;
        const bool counts = entry->Header.AceType == ACCESS_ALLOWED_ACE_TYPE &&
                            (entry->Header.AceFlags & INHERIT_ONLY_ACE) == 0;
        if (counts && (entry->Mask & writing) != 0 && !may_write(&entry->SidStart))
            return true;
    }
    return false;
}

/// Why a file cannot be believed; null when it can. One without a list is everybody's.
const char *doubt_about(HANDLE file) {
    PSID owner = nullptr;
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (!kavro::is_plain_file(file))
        return "is no plain file";
    if (GetSecurityInfo(file, SE_FILE_OBJECT,
                        OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner, nullptr,
                        &list, nullptr, &descriptor) != ERROR_SUCCESS)
        return "does not say whose it is";
    const std::unique_ptr<void, decltype(&LocalFree)> kept(descriptor, LocalFree);
    if (!may_write(owner))
        return "belongs to somebody else";
    return list == nullptr || lets_others_write(list) ? "may be written to by others" : nullptr;
}

} // namespace

std::string read_own_file(const std::string &path) {
    const kavro::FileHandle file =
        kavro::open_file(kavro::to_wide(path), GENERIC_READ | READ_CONTROL, OPEN_EXISTING,
                         FILE_FLAG_OPEN_REPARSE_POINT);
    if (file == nullptr &&
        (GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND))
        return {};
    if (file == nullptr)
        fail(path);
    if (const char *doubt = doubt_about(file.get()))
        throw unfit_file(path, doubt);
    LARGE_INTEGER size{};
    if (GetFileSizeEx(file.get(), &size) == 0)
        fail(path);
    if (size.QuadPart > LONGLONG{longest_own_file})
        throw unfit_file(path, "is too long");
    std::string content(static_cast<std::size_t>(size.QuadPart), '\0');
    DWORD got = 0;
    if (ReadFile(file.get(), content.data(), static_cast<DWORD>(content.size()), &got, nullptr) ==
            0 ||
        got != content.size())
        fail(path);
    return content;
}

std::shared_ptr<void> lock_file(const std::string &path) {
    kavro::FileHandle file = kavro::open_file(kavro::to_wide(path), GENERIC_READ | GENERIC_WRITE,
                                              OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    OVERLAPPED from_the_start{};
    if (file == nullptr ||
        LockFileEx(file.get(), LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &from_the_start) == 0)
        fail(path);
    return std::shared_ptr<void>(file.release(), CloseHandle);
}

} // namespace kavro_cli
