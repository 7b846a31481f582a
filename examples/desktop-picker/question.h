// What a user is asked, and the answer. All that is asked looks like a broker's dialog.
#pragma once

#include "kavro_broker.hpp"

#include <algorithm>
#include <memory>

using Question = kavro_broker::dialog;

inline void wipe(std::string &text) {
    std::fill_n(static_cast<volatile char *>(text.data()), text.size(), '\0');
}

/// The button that was pressed, and what was typed. Wiped at its end.
struct Answer {
    std::string button;
    std::vector<kavro_broker::variable> fields;

    ~Answer() {
        for (auto &field : fields)
            wipe(field.value);
    }

    /// What was typed into a field, empty if there is none of that name.
    const std::string &operator[](const char *name) const {
        static const std::string nothing;
        for (const auto &field : fields)
            if (field.name == name)
                return field.value;
        return nothing;
    }

    /// As it must be in a request.
    Answer escaped() const {
        Answer made{kavro_broker::escape_text(button), fields};
        for (auto &field : made.fields) {
            auto text = kavro_broker::escape_text(field.value);
            field.value.swap(text);
            wipe(text);
        }
        return made;
    }
};
using SharedAnswer = std::shared_ptr<const Answer>;
