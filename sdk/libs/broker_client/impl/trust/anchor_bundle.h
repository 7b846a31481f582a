#pragma once

#include "utils/src/openssl_types.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kavro {

/// A number that equal names share, whatever their spelling; different names may share it as well.
/// OpenSSL compares names without case, extra blanks and the kind of text, so only the letters and
/// digits of ASCII count here, in values whose kind shows them as they are.
/// @param name a distinguished name in DER form.
/// @return nothing for a name that cannot be told from others in this way.
std::optional<std::uint32_t> name_key(std::span<const std::uint8_t> name);

/// A PEM file of many trust anchors, of which a process needs one or two: a certificate is built
/// when its subject is asked for, which costs hundreds of times as much as to find it.
///
/// What it is worth: to read a system's 144 anchors and verify a chain costs a process 5 ms of
/// processor time, against 28 where OpenSSL builds all of them and 4 where it finds a folder with
/// one file for each. Some systems have only the file.
class AnchorBundle {
public:
    /// Nothing unless the file is a list of certificates and no more, each with a readable subject.
    static std::optional<AnchorBundle> read(const std::string &path);

    // The index consists of views of the text.
    AnchorBundle(AnchorBundle &&) = default;
    AnchorBundle &operator=(AnchorBundle &&) = delete;

    /// All certificates with that subject. Misses none: names that are equal have equal keys, and
    /// those without a key are always looked at.
    std::vector<X509Handle> find(const X509_name_st *subject) const;

private:
    explicit AnchorBundle(std::string text) : text_(std::move(text)) {}

    bool index();

    std::string text_;
    std::multimap<std::optional<std::uint32_t>, std::string_view> by_subject_; ///< base64 texts
};

/// Makes a store look for anchors in a bundle, at the time and in the order in which OpenSSL would
/// look into its own copy of them.
void add_bundle(x509_store_st *store, AnchorBundle bundle);

} // namespace kavro
