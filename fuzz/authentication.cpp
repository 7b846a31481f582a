#include "answer.h"
#include "kavro/src/authenticate.h"

// The answers to all five ways to authenticate: a failure leaves no method to go on with.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using kavro::AuthRequest;
    for (const auto request : {AuthRequest::password, AuthRequest::dialog, AuthRequest::oauth,
                               AuthRequest::disclaimer, AuthRequest::password_update}) {
        for (const bool oauth : {false, true}) {
            kavro::AuthAnswer answer;
            const auto result = fuzz::read_answer(
                fuzz::as_text(data, size), [&](kavro::XmlNode message, std::string_view) {
                    return kavro::read_authentication(request, message, oauth, answer);
                });
            fuzz::check_next_method(result, answer, oauth);
            fuzz::promise(result.code == kavro::ERROR_CODE_NONE ||
                              answer.auth.method == kavro::AuthMethod::unknown,
                          "no method after a failure");
        }
    }
    return 0;
}
