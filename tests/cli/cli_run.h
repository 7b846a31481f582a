#pragma once

#include "console.h"
#include "fake_broker.h"
#include "interruption.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

/// What one run of the program came to.
struct Outcome {
    int status;
    std::string out, err;
    std::string shown; ///< prompts and, where typed characters are shown, what was typed
    nlohmann::json json() const { return nlohmann::json::parse(out); }
};

/// Every test begins with a broker that asks nothing and has two desktops.
class CliTest : public testing::Test {
protected:
    CliTest();

    /// Runs with nobody to ask.
    Outcome run(std::vector<std::string> arguments);

    /// Runs with a user who types these lines and then ends the input.
    Outcome run(std::vector<std::string> arguments, std::vector<std::string> typed);

    /// A descriptor from which this text can be read.
    int descriptor_with(const std::string &text);

    ~CliTest() override;

    kavro_cli::Interruption interruption;
    std::chrono::milliseconds retry_pause{1};
    std::optional<int> script; ///< where a shell reads its commands

private:
    Outcome run_with(kavro_cli::Console *console, std::vector<std::string> arguments);

    std::vector<int> descriptors_;
};
