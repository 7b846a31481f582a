#include "terminal_program.h"

#include "broker_sim.h"
#include "minting.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

/// The program as it is shipped, on a terminal, against a broker that asks for a password.
class TerminalTest : public testing::Test {
protected:
    static constexpr const char *password = "hush-hush-4711";

    static broker_sim::Scenario scenario() {
        broker_sim::Scenario scenario;
        scenario.users = {{.username = "alice", .password = password, .domain = "EXAMPLE"}};
        scenario.domains = {"EXAMPLE"};
        scenario.desktops = {{.name = "Build server", .id = "vm-1"}};
        scenario.authentication = {{.methods = {"password"}}};
        return scenario;
    }

    TerminalProgram start(const std::string &command = "list",
                          const std::string &variable = "NO_COLOR=") const {
        const std::string broker = simulator.address() + ":" + std::to_string(simulator.port());
        return {{KAVRO_BROKER_PROGRAM, command, "--broker", broker, "--user", "alice"}, variable};
    }

    static void expect_then_type(TerminalProgram &program, const std::string &shown,
                                 const std::string &typed) {
        ASSERT_TRUE(program.wait_for(shown)) << program.screen();
        ASSERT_TRUE(program.type(typed));
    }
    static void log_in(TerminalProgram &program) {
        expect_then_type(program, "Password for alice: ", std::string(password) + "\n");
    }

    broker_sim::Simulator simulator{scenario()};
    test_support::TrustedCa trusted{simulator.ca_pem()};
};

TEST_F(TerminalTest, shows_no_password_and_colours_words_unless_the_user_wants_none) {
    for (const bool wanted : {true, false}) {
        auto program = start("list", wanted ? "NO_COLOR=" : "NO_COLOR=1");
        ASSERT_TRUE(program.wait_for("Password for alice: ")) << program.screen();
        EXPECT_FALSE(program.echoes());
        log_in(program);
        EXPECT_EQ(program.wait_for_exit(20s), 0) << program.screen();
        EXPECT_NE(program.screen().find("HEALTHY"), std::string::npos) << program.screen();
        EXPECT_EQ(program.screen().find("\x1b[32mHEALTHY") != std::string::npos, wanted);
        EXPECT_EQ(program.screen().find(password), std::string::npos) << program.screen();
        EXPECT_TRUE(program.echoes());
    }
}

TEST_F(TerminalTest, ctrl_c_in_a_shell_ends_the_running_command_or_line_only) {
    simulator.inject(
        {.match = {.request = "get-resource-list"}, .ending = broker_sim::Ending::stall});
    auto program = start("shell");
    log_in(program);
    const std::pair<const char *, const char *> dialog[] = {
        {"kavro-broker> ", "half a comm"},  {"> half a comm", "\x03"},
        {"^C\r\nkavro-broker> ", "list\n"}, {"Listing the desktops", "\x03"},
        {"Cancelled.", "help\n"},           {"COMMAND --help", "\x04"},
    };
    for (const auto &[shown, typed] : dialog)
        expect_then_type(program, shown, typed);
    EXPECT_EQ(program.wait_for_exit(20s), 130) << program.screen();
}

TEST_F(TerminalTest, ctrl_c_ends_a_prompt_and_restores_the_terminal) {
    auto program = start();
    expect_then_type(program, "Password for alice: ", "half a passw\x03");
    EXPECT_EQ(program.wait_for_exit(2s), 130) << program.screen();
    EXPECT_TRUE(program.echoes());
}

} // namespace
