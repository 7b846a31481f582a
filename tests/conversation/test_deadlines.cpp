#include "conversation/short_deadlines.h"

using namespace conversation;

namespace {

TEST(Deadlines, EndARequestWhereverTheBrokerFallsSilent) {
    constexpr auto deadline = 400ms;
    for (const auto &[where, fault] : silences()) {
        SCOPED_TRACE(where);
        Conversation talk(without_authentication(), handle_with_deadline(deadline));
        talk.broker.inject(fault);
        const auto start = Clock::now();
        EXPECT_EQ(talk.list(), KAVRO_BROKER_ERR_TIMEOUT);
        EXPECT_GE(since(start), deadline);
        EXPECT_LT(since(start), deadline + margin);

        talk.broker.clear_faults();
        EXPECT_EQ(talk.list(), KAVRO_BROKER_OK) << "afterwards";
    }
}

TEST(Deadlines, ALogoutNobodyAnswersIsDoneAllTheSame) {
    Conversation talk(without_authentication(), handle_with_deadline(300ms));
    ASSERT_EQ(talk.list(), KAVRO_BROKER_OK);
    talk.broker.inject({.match = {.request = "bye"}, .ending = broker_sim::Ending::stall});
    EXPECT_EQ(kavro_broker_clear_session(talk.handle), KAVRO_BROKER_OK);
}

} // namespace
