#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

/// What every contender makes of one desktop of a list.
struct Desktop {
    std::string name;
    std::string id;
    std::string type;
    std::string state;
    std::string health;
    bool restart_allowed = false;
};

/// One client of the broker. Each exchange has a connection and a full, verified handshake of its
/// own, unless it is told to keep one; whatever else can be kept from one to the next is kept.
class Contender {
public:
    virtual ~Contender() = default;
    /// Two exchanges: hello and a power operation.
    virtual void hello_and_operation() = 0;
    /// Whether a connection serves all exchanges from now on; false closes it. Ignored by who
    /// cannot.
    virtual void keep_connection(bool) {}
    /// One exchange: the list, kept in the form in which this contender hands it out, sorted by id.
    virtual void list() = 0;
    /// What a user waits for, over one connection: hello, password, list and allocation. For who
    /// can keep a connection.
    virtual void log_in() { throw std::logic_error("keeps no connection"); }
    /// A copy of the last list; empty for who keeps none.
    virtual std::vector<Desktop> desktops() = 0;
};

struct Setup {
    std::string port;       ///< of the responder, on 127.0.0.1
    std::string trust_file; ///< PEM bundle
    bool log = true;        ///< for who has a log
};

/// The program around a contender: `PROGRAM PORT TRUST_FILE [--no-log]`. Every line of standard
/// input names a kind of work and how often it is done: "small" exchanges, two each; "kept" ones,
/// which are small and find a connection; "list" with a copy of all that is in it; "fetch" without;
/// "log-in". Every answer is a line of JSON that says what it took.
int run_contender(int argc, char **argv,
                  const std::function<std::unique_ptr<Contender>(const Setup &)> &make);

} // namespace bench
