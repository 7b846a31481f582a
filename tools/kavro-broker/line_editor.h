#pragma once

#include "interruption.h"
#include "secret.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kavro_cli {

/// The end of a line that is being typed, and what may stand in its place.
struct Completion {
    std::size_t length; ///< of what is replaced
    std::vector<std::string> candidates;
};

/// Reads lines from a terminal with keys for changing them, for finding earlier ones, and for
/// having words completed.
class LineEditor {
public:
    using Complete = std::function<Completion(std::string_view line)>;

    virtual ~LineEditor() = default;

    /// False at the end of the input. Throws when the user has interrupted.
    virtual bool read(const std::string &prompt, Secret &line) = 0;

    /// As a line that can be found again.
    virtual void remember(const std::string &line) = 0;
};

/// On the terminal that the process was started from. Null where there is none, or no editor was
/// built in: the console then reads lines in its own way.
std::unique_ptr<LineEditor> open_line_editor(const Interruption &interruption,
                                             LineEditor::Complete complete);

} // namespace kavro_cli
