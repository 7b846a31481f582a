#pragma once

#include "broker_sim.h"
#include "console.h"
#include "interruption.h"
#include "minting.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using Lines = std::vector<std::string>;

/// What one run of the program came to.
struct Outcome {
    int status;
    std::string out, err;
    std::string shown; ///< prompts and, where typed characters are shown, what was typed
    nlohmann::json json() const { return nlohmann::json::parse(out); }
};

/// The program's commands in this process, against a simulated broker that asks nothing and has two
/// desktops unless a test says otherwise.
class CliTest : public testing::Test {
protected:
    CliTest();
    ~CliTest() override;

    /// Puts a broker of this kind in the place of the one before.
    void start(broker_sim::Scenario scenario);

    /// Runs with nobody to ask.
    Outcome run(Lines arguments);

    /// Runs with a user who types this and then ends the input.
    Outcome run(Lines arguments, const std::string &typed);

    /// The requests since this was asked before, with the texts in them but what the client says of
    /// itself, as "authenticate alice|secret|EXAMPLE".
    Lines requests();

    /// Raises a signal once the broker has got so many requests.
    std::jthread interrupt_after(std::size_t requests, int signal);

    /// A descriptor from which this text can be read.
    int descriptor_with(const std::string &text);

    broker_sim::Scenario scenario; ///< of the broker that tests begin with
    std::unique_ptr<broker_sim::Simulator> broker;
    kavro_cli::Interruption interruption;
    std::chrono::milliseconds retry_pause{1};
    std::optional<int> script; ///< where a shell reads its commands
    std::string config_folder; ///< none unless a test names one

private:
    Outcome run_with(kavro_cli::Console *console, Lines arguments);

    std::optional<test_support::TrustedCa> trusted_;
    std::vector<int> descriptors_;
};
