#include "conversation/conversation.h"
#include "hostile/failing_allocation.h"
#include "hostile/rounds.h"
#include "regcode/table_folder.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <map>

using namespace conversation;
using hostile::FailingAllocation;

namespace {

/// What a request may say when memory was short: that it went well after all, or what failed.
const std::vector<kavro_broker_result> documented = {
    KAVRO_BROKER_OK,
    KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED,
    KAVRO_BROKER_ERR_CONNECT_FAILED,
    KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED,
    KAVRO_BROKER_ERR_TLS_PROTOCOL_ERROR,
    KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE,
    KAVRO_BROKER_ERR_CERTIFICATE_FAILED,
    KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE,
};

/// Formats a message without any memory of its own: what fails is the library's.
__attribute__((format(printf, 4, 0))) void record(int32_t, int32_t, int32_t, const char *format,
                                                  va_list arguments) {
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
}

using Results = std::map<kavro_broker_result, int>;

/// Does something again and again, each time with a later one of its allocations failing, until it
/// makes no more. Now and then, and at the end, `good` must end well. Returns how often it ended
/// how.
Results sweep(const std::function<kavro_broker_result()> &act,
              const std::function<kavro_broker_result()> &good) {
    kavro_broker_set_log_function(record);
    EXPECT_TRUE(FailingAllocation::reaches_openssl());
    Results results;
    const int step = hostile::takes_its_time() ? 1 : 13;
    for (int nth = 1;; nth += nth < 200 ? 1 : step) {
        kavro_broker_result result = KAVRO_BROKER_OK;
        bool happened = false;
        {
            const FailingAllocation failing(static_cast<std::size_t>(nth));
            result = act();
            happened = failing.happened();
        }
        EXPECT_EQ(std::ranges::count(documented, result), 1) << result << " at " << nth;
        if (nth % 16 == 0 || !happened) {
            EXPECT_EQ(good(), KAVRO_BROKER_OK) << "after " << nth;
        }
        if (!happened)
            break;
        ++results[result];
    }
    for (const auto &[result, times] : results)
        std::cout << "result " << result << ": " << times << " times\n";
    return results;
}

/// A list with a greeting before it.
kavro_broker_result list(Conversation &talk) {
    kavro_broker_set_locale(talk.handle, "en_US");
    return talk.list();
}

kavro_broker_result allocate(Conversation &talk) {
    return talk.allocate("desktop-office");
}

TEST(FailingAllocations, OfRequests) {
    for (const auto request : {list, allocate}) {
        Conversation talk(open_door());
        ASSERT_EQ(request(talk), KAVRO_BROKER_OK);
        const auto act = [&] { return request(talk); };
        Results results = sweep(act, act);
        EXPECT_GT(results[KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE], 20);
    }
}

TEST(FailingAllocations, OfANewHandle) {
    Conversation talk(open_door());
    sweep(
        [&talk] {
            kavro_broker_handle handle = nullptr;
            auto result = kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &handle);
            EXPECT_EQ(handle != nullptr, result == KAVRO_BROKER_OK);
            kavro_broker_free(handle);
            return result;
        },
        [&talk] { return list(talk); });
}

/// Whatever fails on the way, a broker that cannot prove who it is, is never believed.
TEST(FailingAllocations, NeverMakeAStrangerTrusted) {
    auto scenario = open_door();
    scenario.tls.issuer = broker_sim::Issuer::stranger;
    Conversation talk(scenario);
    const auto act = [&talk] { return list(talk); };
    EXPECT_EQ(sweep(act,
                    [&] {
                        return act() == KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE
                                   ? KAVRO_BROKER_OK
                                   : KAVRO_BROKER_ERR_INVALID_STATE;
                    })
                  .count(KAVRO_BROKER_OK),
              0u);
    EXPECT_TRUE(talk.broker.requests().empty());
}

TEST(FailingAllocations, OfALookUpInTheTable) {
    Conversation talk(open_door());
    const kavro::TableFolder table(R"({"CODE": ")" + talk.broker.address() + R"("})");
    kavro_broker_set_broker_variant(talk.handle, KAVRO_BROKER_VARIANT_REGISTRATION_CODE);
    kavro_broker_set_broker_address(talk.handle, "CODE",
                                    std::to_string(talk.broker.port()).c_str());
    const auto act = [&talk] { return talk.list(); };
    EXPECT_EQ(act(), KAVRO_BROKER_OK);
    EXPECT_GT(sweep(act, act)[KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED], 0);
}

} // namespace
