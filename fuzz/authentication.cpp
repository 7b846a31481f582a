#include "answer.h"
#include "kavro/src/authenticate.h"

// The answers to all five ways to authenticate: a failure leaves no method to go on with.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace kavro;
    const auto check = [&](const auto &message) {
        for (const bool oauth : {false, true}) {
            AuthAnswer answer;
            const auto result =
                fuzz::read_answer(message, fuzz::as_text(data, size), answer, oauth);
            fuzz::check_next_method(result, answer, oauth);
            fuzz::promise(result.code == ERROR_CODE_NONE ||
                              answer.auth.method == AuthMethod::unknown,
                          "no method after a failure");
        }
    };
    check(password_message);
    check(dialog_message);
    check(oauth_message);
    check(disclaimer_message);
    check(password_update_message);
    return 0;
}
