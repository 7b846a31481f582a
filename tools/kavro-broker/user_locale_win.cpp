#include "user_locale.h"

#include "utils/src/wide_text_win.h"

#include <windows.h>

#include <algorithm>

namespace kavro_cli {

std::string user_locale() {
    wchar_t name[LOCALE_NAME_MAX_LENGTH];
    if (GetUserDefaultLocaleName(name, LOCALE_NAME_MAX_LENGTH) == 0)
        return "en_US";
    std::string locale = kavro::to_utf8(name); // as "de-DE"
    std::ranges::replace(locale, '-', '_');
    return locale;
}

} // namespace kavro_cli
