#include "child_process.h"

#include "failure.h"
#include "utils/src/file_handle_win.h"
#include "utils/src/wide_text_win.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdint>
#include <cstdio>
#include <system_error>

namespace kavro_cli {
namespace {

using kavro::FileHandle;

HANDLE require(HANDLE made) {
    if (made == nullptr)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
    return made;
}

void require(BOOL worked) {
    if (worked == FALSE)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
}

class Child final : public ChildProcess {
public:
    explicit Child(std::wstring command) : job_(require(CreateJobObjectW(nullptr, nullptr))) {
        HANDLE read_end = nullptr;
        HANDLE write_end = nullptr;
        require(CreatePipe(&read_end, &write_end, nullptr, 0));
        const FileHandle input(write_end);
        output_ = _open_osfhandle(reinterpret_cast<std::intptr_t>(read_end), _O_TEXT);
        try {
            require(SetHandleInformation(write_end, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT));
            start(std::move(command), write_end);
        } catch (...) {
            _close(output_);
            throw;
        }
    }
    ~Child() override {
        if (!exit_status())
            TerminateJobObject(job_.get(), 1);
        _close(output_);
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    int output() const override { return output_; }

    std::optional<int> exit_status() override {
        DWORD status = 0;
        if (WaitForSingleObject(process_.get(), 0) != WAIT_OBJECT_0 ||
            GetExitCodeProcess(process_.get(), &status) == FALSE)
            return std::nullopt;
        return static_cast<int>(status);
    }

private:
    /// It runs only when it is in the job, so that nothing that it starts is outside.
    void start(std::wstring command, HANDLE output) {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        const FileHandle nothing =
            kavro::open_file(L"NUL", GENERIC_READ, OPEN_EXISTING, 0, &inherited);
        STARTUPINFOW streams{};
        streams.cb = sizeof streams;
        streams.dwFlags = STARTF_USESTDHANDLES;
        streams.hStdInput = nothing.get();
        streams.hStdOutput = output;
        streams.hStdError = GetStdHandle(STD_ERROR_HANDLE);
        PROCESS_INFORMATION started{};
        require(CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE,
                               CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP, nullptr, nullptr,
                               &streams, &started));
        process_.reset(started.hProcess);
        const FileHandle thread(started.hThread);
        AssignProcessToJobObject(job_.get(), process_.get());
        ResumeThread(thread.get());
    }

    const FileHandle job_;
    FileHandle process_;
    int output_ = -1;
};

} // namespace

std::unique_ptr<ChildProcess> start_program(const std::string &command) {
    return std::make_unique<Child>(kavro::to_wide(command));
}

std::string program_of(const std::string &command) {
    int count = 0;
    const auto wide = kavro::to_wide(command);
    if (wide.find_first_not_of(L' ') == wide.npos)
        throw Failure(ExitStatus::usage, "NO_PROGRAM", "No program is named.");
    LPWSTR *words = CommandLineToArgvW(wide.c_str(), &count);
    const std::string program = count == 0 ? std::string() : kavro::to_utf8(words[0]);
    LocalFree(words);
    return program;
}

} // namespace kavro_cli
