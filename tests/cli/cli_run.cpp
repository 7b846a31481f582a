#include "cli_run.h"

#include "application.h"
#include "system.h"

#include <algorithm>
#include <regex>
#include <sstream>

namespace {

class ScriptedUser : public kavro_cli::Console {
public:
    explicit ScriptedUser(const std::string &typed) : typed_(typed) {}

    void write(std::string_view text) override { shown += text; }

    bool ask(std::string_view prompt, kavro_cli::Secret &line, Echo echo) override {
        shown += prompt;
        std::string typed;
        if (!std::getline(typed_, typed))
            return false;
        line = kavro_cli::Secret(typed);
        shown += (echo == Echo::on ? typed : "") + "\n";
        return true;
    }

    std::size_t width() const override { return 40; }

    std::string shown;

private:
    std::istringstream typed_;
};

/// The texts in a request, up to where the client goes on about itself.
std::string texts_in(const broker_sim::RecordedRequest &request) {
    static const std::regex text(R"(>([^<\r\n]+)<)");
    const std::string told = request.body.substr(0, request.body.find("<protocol>"));
    std::string all;
    for (std::sregex_iterator found(told.begin(), told.end(), text), end; found != end; ++found)
        all += (all.empty() ? " " : "|") + found->str(1);
    return all;
}

} // namespace

CliTest::CliTest() {
    scenario.desktops = {{.name = "Alpha", .id = "vm-1"},
                         {.name = "Beta", .id = "vm-2", .state = "POWERED_OFF"}};
    start(scenario);
    trusted_.emplace(broker->ca_pem());
}

CliTest::~CliTest() {
    for (const int descriptor : descriptors_)
        test_support::close_descriptor(descriptor);
}

void CliTest::start(broker_sim::Scenario wanted) {
    broker = std::make_unique<broker_sim::Simulator>(std::move(wanted));
}

Outcome CliTest::run_with(kavro_cli::Console *console, Lines arguments) {
    std::ostringstream out;
    std::ostringstream err;
    const kavro_cli::Surroundings surroundings{.out = out,
                                               .err = err,
                                               .console = console,
                                               .interruption = interruption,
                                               .script = script,
                                               .login_name = "unixuser",
                                               .config_folder = config_folder,
                                               .retry_pause = retry_pause};
    const auto names = [&arguments](const char *word) {
        return std::ranges::count(arguments, word) != 0;
    };
    if (!names("--broker") && !names("--registration-code") && !names("probe") &&
        !names("known-brokers"))
        arguments.insert(arguments.end(),
                         {"--broker", "127.0.0.1:" + std::to_string(broker->port())});
    const int status = kavro_cli::run_application(std::move(arguments), surroundings);
    return {status, out.str(), err.str(), {}};
}

Outcome CliTest::run(Lines arguments) {
    return run_with(nullptr, std::move(arguments));
}

Outcome CliTest::run(Lines arguments, const std::string &typed) {
    ScriptedUser user(typed);
    auto outcome = run_with(&user, std::move(arguments));
    outcome.shown = user.shown;
    return outcome;
}

Lines CliTest::requests() {
    Lines told;
    for (const auto &request : broker->requests())
        told.push_back(request.kind + (request.kind == "hello" ? "" : texts_in(request)));
    broker->clear_recording();
    return told;
}

std::jthread CliTest::interrupt_after(std::size_t requests, int signal) {
    return std::jthread([this, requests, signal] {
        EXPECT_TRUE(broker->wait_for_requests(requests, std::chrono::seconds(20)));
        interruption.raise(signal);
        interruption.cancel_request();
    });
}

int CliTest::descriptor_with(const std::string &text) {
    descriptors_.push_back(test_support::descriptor_with(text));
    EXPECT_GE(descriptors_.back(), 0);
    return descriptors_.back();
}
