#pragma once

#include "utils/src/checkpoint.h"

#include <cstddef>
#include <memory>
#include <string>

namespace kavro {

/// The table of the registration service: which broker address each registration code stands for.
class LookupTable {
public:
    static constexpr std::size_t max_bytes = 16 * 1024 * 1024;
    static constexpr int max_nesting = 64;
    /// Tiny values take up a hundred times their text once they are read.
    static constexpr int max_values = 500'000;

    /// @param json an object. @throws std::runtime_error when it is none or is over a limit, and
    ///        what `checkpoint` throws.
    explicit LookupTable(std::string json, const Checkpoint &checkpoint = {});
    ~LookupTable();
    LookupTable(const LookupTable &) = delete;
    LookupTable &operator=(const LookupTable &) = delete;

    /// The text under a path whose dots lead down into nested objects; empty when there is none.
    std::string find(const std::string &path) const;

private:
    struct Tree;

    std::unique_ptr<const Tree> tree_;
};

} // namespace kavro
