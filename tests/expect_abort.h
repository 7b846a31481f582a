#pragma once

#include "system.h"
#include "utils/src/broker_log.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>

namespace kavro {

BROKER_PRINTF_FORMAT(4, 0)
inline void print_to_stderr(int32_t category, int32_t severity, int32_t error, const char *format,
                            va_list arguments) {
    std::fprintf(stderr, "(%d, %d, %d) ", category, severity, error);
    std::vfprintf(stderr, format, arguments);
}

/// The process must say all that and abort. In regular expressions without [], which googletest
/// does not know on Windows.
template <class Call>
void expect_abort(Call call, const std::string &said, const std::string &function,
                  const std::string &line = ".+") {
    const auto logging_call = [&call] {
        set_log_function(&print_to_stderr);
        call();
    };
    EXPECT_EXIT(logging_call(), test_support::ended_by_abort,
                said + "\\(0, 0, -500\\) =+ Broker Assert in function " + function +
                    " at line number " + line + "\\. =+");
}

} // namespace kavro
