#pragma once

#include "token_signer.h"

#include <p11-kit/p11-kit.h>
#include <p11-kit/pkcs11.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace token {

/// Throws unless a call has worked; `what` is the beginning of the sentence that tells so.
void require(CK_RV result, const std::string &what);

/// How many of something a module tells of; throws when there cannot be as many.
std::size_t at_most(CK_ULONG most, CK_ULONG told, const std::string &what);

/// What a call tells that is asked for the number first, and then for all of them.
template <class Value = CK_BYTE, class Call>
std::vector<Value> all_of(Call call, const std::string &what) {
    constexpr CK_ULONG most = 65536 / sizeof(Value);
    CK_ULONG count = 0;
    require(call(nullptr, &count), what);
    std::vector<Value> values(at_most(most, count, what));
    require(call(values.data(), &count), what);
    values.resize(at_most(values.size(), count, what));
    return values;
}

/// Loaded modules, ready for use; null after the last.
using Modules = std::shared_ptr<CK_FUNCTION_LIST *[]>;

/// The module of this path, or all that are registered with p11-kit.
Modules load_modules(const std::optional<std::string> &path);

/// A session with a token, read-only unless stated otherwise.
class TokenSession {
public:
    TokenSession(CK_FUNCTION_LIST &module, CK_SLOT_ID slot);
    ~TokenSession();
    TokenSession(const TokenSession &) = delete;
    TokenSession &operator=(const TokenSession &) = delete;

    CK_FUNCTION_LIST &module() const { return module_; }
    CK_SESSION_HANDLE handle() const { return handle_; }

    std::vector<CK_OBJECT_HANDLE> find(std::vector<CK_ATTRIBUTE> wanted) const;
    std::vector<CK_BYTE> attribute(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const;

private:
    CK_FUNCTION_LIST &module_;
    CK_SESSION_HANDLE handle_ = 0;
};

/// An attribute that is a number; `value` outlives it.
inline CK_ATTRIBUTE number(CK_ATTRIBUTE_TYPE type, CK_ULONG &value) {
    return {type, &value, sizeof value};
}

} // namespace token
