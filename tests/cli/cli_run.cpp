#include "cli_run.h"

#include "application.h"
#include "system.h"

#include <algorithm>
#include <sstream>

namespace {

class ScriptedUser : public kavro_cli::Console {
public:
    explicit ScriptedUser(std::vector<std::string> lines) : lines_(lines.begin(), lines.end()) {}

    void write(std::string_view text) override { shown += text; }

    bool ask(std::string_view prompt, kavro_cli::Secret &line, Echo echo) override {
        shown += prompt;
        if (lines_.empty())
            return false;
        line = kavro_cli::Secret(lines_.front());
        shown += (echo == Echo::on ? lines_.front() : "") + "\n";
        lines_.pop_front();
        return true;
    }

    std::size_t width() const override { return 40; }

    std::string shown;

private:
    std::deque<std::string> lines_;
};

} // namespace

Outcome CliTest::run_with(kavro_cli::Console *console, std::vector<std::string> arguments) {
    std::ostringstream out;
    std::ostringstream err;
    const kavro_cli::Surroundings surroundings{.out = out,
                                               .err = err,
                                               .console = console,
                                               .interruption = interruption,
                                               .script = script,
                                               .login_name = "unixuser",
                                               .retry_pause = retry_pause};
    const bool has_address = std::ranges::count(arguments, "--registration-code") != 0 ||
                             (!arguments.empty() && arguments.front() == "probe");
    if (!has_address)
        arguments.insert(arguments.end(), {"--broker", "broker.example"});
    const int status = kavro_cli::run_application(std::move(arguments), surroundings);
    return {status, out.str(), err.str(), {}};
}

CliTest::CliTest() {
    fake::broker = {};
    fake::broker.desktops = {
        {"Alpha",
         "vm-1",
         "VM",
         "ON",
         "OK",
         {KAVRO_BROKER_OPERATION_OS_RESTART, KAVRO_BROKER_OPERATION_POWER_DOWN}},
        {"Beta", "vm-2", "VM", "OFF", "", {KAVRO_BROKER_OPERATION_POWER_UP}}};
}

CliTest::~CliTest() {
    for (const int descriptor : descriptors_)
        test_support::close_descriptor(descriptor);
}

Outcome CliTest::run(std::vector<std::string> arguments) {
    return run_with(nullptr, std::move(arguments));
}

Outcome CliTest::run(std::vector<std::string> arguments, std::vector<std::string> typed) {
    ScriptedUser user(std::move(typed));
    auto outcome = run_with(&user, std::move(arguments));
    outcome.shown = user.shown;
    return outcome;
}

int CliTest::descriptor_with(const std::string &text) {
    descriptors_.push_back(test_support::descriptor_with(text));
    EXPECT_GE(descriptors_.back(), 0);
    return descriptors_.back();
}
