#include "error_codes.h"
#include "expect_abort.h"
#include "kavro/src/power_operation.h"

#include <gtest/gtest.h>

namespace kavro {
namespace {

constexpr std::uint32_t none = 0xFFFFFFFF; ///< stops the process

/// Public codes by internal code.
constexpr std::uint32_t public_codes[] = {
    0,   2,    4,    5,   6,   7,   200, 201, 202, 203, 204,  205, 207, 10,  300, 301,
    206, 408,  408,  408, 400, 401, 2,   7,   403, 404, 405,  406, 407, 408, 500, 501,
    502, 503,  none, 504, 505, 506, 507, 508, 509, 510, 511,  512, 513, 514, 600, none,
    701, none, 700,  701, 703, 711, 712, 708, 709, 710, none, 208, 209, none};

TEST(ErrorCodes, EveryInternalCodeHasItsPublicOne) {
    static_assert(std::size(public_codes) == ERROR_CODE_PROXY_AUTH_REQUIRED + 2);
    for (std::uint32_t code = 0; code < std::size(public_codes); ++code) {
        if (public_codes[code] != none) {
            EXPECT_EQ(broker_convert_error(code), public_codes[code]) << code;
        }
    }
}

TEST(ErrorCodes, MethodsAndVerdictsHavePublicValues) {
    constexpr std::uint32_t methods[] = {0, 1, 2, 7, 8, 9, 10, 3, 4, 11, 5, 6};
    for (int method = 0; method < 12; ++method)
        EXPECT_EQ(convert_from_auth_result_value(AuthMethod(method)), methods[method]) << method;

    constexpr std::uint32_t verdicts[] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,
                                          10, 11, 29, 12, 13, 14, 15, 16, 17, 18,
                                          19, 20, 21, 22, 23, 25, 26, 27, 28, 29};
    for (std::uint32_t verdict = 0; verdict < std::size(verdicts); ++verdict)
        EXPECT_EQ(convert_certificate_verdict(verdict), verdicts[verdict]) << verdict;
    EXPECT_EQ(convert_certificate_verdict(none), 29u);
}

TEST(ErrorCodesDeathTest, WhatHasNoPublicValueIsAProgrammingError) {
    for (const std::uint32_t code : {34u, 47u, 49u, 58u, 0x7FFFFFFFu}) {
        expect_abort([code] { broker_convert_error(code); },
                     "\\(0, 3, 0\\) broker_convert_error: Unknown error code \\(" +
                         std::to_string(code) + "\\) coming from ConnectionBrokerClient",
                     "broker_convert_error");
    }
    for (const int method : {-1, 12}) {
        expect_abort([method] { convert_from_auth_result_value(AuthMethod(method)); }, "",
                     "convert_from_auth_result_value");
    }
    expect_abort(
        [] { request_text(power_operation_message, {}, "d", eKAVRO_BROKER_DESKTOP_CMD(5)); }, "",
        "cKAVRO_BROKER_CLIENT::send_perform_desktop_operation");
}

} // namespace
} // namespace kavro
