#include "first_use.h"

#include "certificates.h"
#include "report.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

namespace kavro_cli {
namespace {

/// As they are typed; the first one is also what an empty line means.
const std::vector<std::string> answers{"no", "once", "always"};

std::string ask_about(Prompts &prompts, const KnownBroker &shown,
                      const std::vector<Certificate> &certificates) {
    std::ostringstream chain;
    print_certificates(certificates, chain);
    prompts.show(chain.str());
    prompts.say(fmt::format("Nobody known here has issued the certificate of {}. If its "
                            "administrator confirms the key pin above, answer \"once\", or "
                            "\"always\" to have the key remembered.",
                            shown.address()));
    for (;;) {
        const auto answer = prompts.text("Talk to this broker? (no/once/always)", answers.front());
        if (std::ranges::count(answers, answer) != 0)
            return answer;
    }
}

Failure with_changed_key(Failure failure, const KnownBroker &shown, const std::string &known_pin) {
    failure.before = "The broker's key has changed since you accepted it.";
    failure.detail = fmt::format(
        "The known key of {0} is {1}, and it shows {2}: somebody may stand in between. If its "
        "administrator confirms the new key, remove the old one and answer again: kavro-broker "
        "known-brokers --remove {0}",
        shown.address(), known_pin, shown.key_pin);
    return failure;
}

} // namespace

/// A file that cannot be believed counts as none.
std::vector<KnownBroker> FirstUse::known_at(const KnownBroker &shown) const {
    std::vector<KnownBroker> found;
    const auto failure = failure_of([&] { found = known_.all(); });
    if (failure)
        warn(failure->what(), surroundings_);
    std::erase_if(found, [&](const auto &known) { return !known.is_at_same_place(shown); });
    return found;
}

void FirstUse::judge(const KnownBroker &shown, Failure failure) {
    const auto known = known_at(shown);
    if (std::ranges::count(known, shown.key_pin, &KnownBroker::key_pin) != 0)
        return;
    if (!known.empty())
        throw with_changed_key(std::move(failure), shown, known.front().key_pin);
    if (prompts_ == nullptr)
        throw failure;
    const auto answer = ask_about(*prompts_, shown, std::exchange(failure.certificates, {}));
    if (answer == answers.front())
        throw failure;
    for_good_ = answer == answers.back();
}

void FirstUse::keep(const KnownBroker &shown) {
    if (!std::exchange(for_good_, false))
        return;
    if (const auto failure = failure_of([&] { known_.add(shown); }))
        warn(failure->what(), surroundings_);
}

} // namespace kavro_cli
