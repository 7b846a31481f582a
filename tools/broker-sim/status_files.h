#pragma once

namespace broker_sim {

/// The texts of the files in status/.
extern const char *const status_html;
extern const char *const status_css;
extern const char *const status_js;

} // namespace broker_sim
