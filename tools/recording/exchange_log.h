#pragma once
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace recording {

/// A request with its answer, or a try that came to neither, as a log of level debug tells them.
struct Exchange {
    std::string request{};  ///< its name, as "hello"; empty when nothing was sent
    std::string sent{};     ///< both masked, in one line
    std::string received{}; ///< empty when no answer could be read
    std::optional<std::chrono::milliseconds> waited{}; ///< where the lines have times
    unsigned result = 0;    ///< of the library, as far as the log tells why there is no answer
    std::string evidence{}; ///< the line that does
};

/// Follows a log, line by line, whatever stands before the library's own words.
class ExchangeLog {
public:
    void add(std::string_view line);
    /// What has passed since the last time.
    std::vector<Exchange> take();

private:
    struct Marker;
    using Step = void (ExchangeLog::*)(const Marker &, std::string_view line);
    static const Marker markers[];

    bool take_piece(std::string_view line);
    void connects(const Marker &, std::string_view line);
    void gives_up(const Marker &, std::string_view line);
    void sends(const Marker &, std::string_view line);
    void receives(const Marker &, std::string_view line);
    void provisions(const Marker &, std::string_view line);
    void fails(const Marker &marker, std::string_view line);

    std::vector<Exchange> exchanges_;
    std::string *message_ = nullptr; ///< that the lines go on with
    std::optional<std::chrono::milliseconds> sent_at_;
};

} // namespace recording
