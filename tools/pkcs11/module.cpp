#include "module.h"

#include <array>

namespace token {

void require(CK_RV result, const std::string &what) {
    if (result != CKR_OK)
        throw TokenError(what + ": " + p11_kit_strerror(result) + ".");
}

std::size_t at_most(CK_ULONG most, CK_ULONG told, const std::string &what) {
    if (told > most)
        throw TokenError(what + ": what its module says of its size cannot be.");
    return told;
}

namespace {

Modules load_module(const std::string &path) {
    CK_FUNCTION_LIST *module = p11_kit_module_load(path.c_str(), P11_KIT_MODULE_CRITICAL);
    if (module == nullptr)
        throw TokenError("The PKCS #11 module " + path + " cannot be loaded.");
    const auto release = [](CK_FUNCTION_LIST **list) {
        p11_kit_module_finalize(*list);
        p11_kit_module_release(*list);
        delete[] list;
    };
    Modules modules(
        new CK_FUNCTION_LIST *[2] { module, nullptr }, release);
    require(p11_kit_module_initialize(module), "The PKCS #11 module " + path + " does not start");
    return modules;
}

} // namespace

Modules load_modules(const std::optional<std::string> &path) {
    if (path)
        return load_module(*path);
    CK_FUNCTION_LIST **registered = p11_kit_modules_load_and_initialize(0);
    if (registered == nullptr)
        throw TokenError("The PKCS #11 modules registered on this system cannot be loaded.");
    return {registered, p11_kit_modules_finalize_and_release};
}

TokenSession::TokenSession(CK_FUNCTION_LIST &module, CK_SLOT_ID slot) : module_(module) {
    require(module.C_OpenSession(slot, CKF_SERIAL_SESSION, nullptr, nullptr, &handle_),
            "The token cannot be opened");
}

TokenSession::~TokenSession() {
    module_.C_CloseSession(handle_);
}

std::vector<CK_OBJECT_HANDLE> TokenSession::find(std::vector<CK_ATTRIBUTE> wanted) const {
    constexpr const char *failure = "The token cannot be searched";
    constexpr std::size_t most_objects = 1000;
    require(module_.C_FindObjectsInit(handle_, wanted.data(), wanted.size()), failure);
    std::vector<CK_OBJECT_HANDLE> found;
    std::array<CK_OBJECT_HANDLE, 16> some{};
    CK_ULONG count = 0;
    CK_RV result = CKR_OK;
    do {
        result = module_.C_FindObjects(handle_, some.data(), some.size(), &count);
        if (result == CKR_OK) {
            const auto *end = some.begin() + at_most(some.size(), count, failure);
            found.insert(found.end(), some.cbegin(), end);
        }
    } while (result == CKR_OK && count != 0 && found.size() < most_objects);
    module_.C_FindObjectsFinal(handle_);
    require(result, failure);
    return found;
}

std::vector<CK_BYTE> TokenSession::attribute(CK_OBJECT_HANDLE object,
                                             CK_ATTRIBUTE_TYPE type) const {
    return all_of(
        [&](CK_BYTE *value, CK_ULONG *length) {
            CK_ATTRIBUTE wanted{type, value, *length};
            const CK_RV result = module_.C_GetAttributeValue(handle_, object, &wanted, 1);
            *length = wanted.ulValueLen;
            return result;
        },
        "The token does not tell an attribute");
}

} // namespace token
