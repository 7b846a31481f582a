// A broker whose issuer is not known here: the user looks at its certificate and decides.
#pragma once

#include "question.h"

/// After KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE.
Question ask_for_trust(const kavro_broker::broker &broker, const Answer &);

/// Pins the key that was shown: host name, dates and key are judged as ever, the issuer is not.
void trust_this_time(kavro_broker::broker &broker, const Answer &, const Answer &);
