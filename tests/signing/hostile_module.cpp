#include <p11-kit/pkcs11.h>

#include <dlfcn.h>

#include <cstdlib>
#include <map>
#include <string_view>

// A PKCS #11 module in front of SoftHSM that does wrong what HOSTILE_MODULE says: a call that is
// named there fails, others lie.

namespace {

CK_FUNCTION_LIST real, spoilt;

template <auto Call>
struct Failing;
template <class... Arguments, CK_RV (*CK_FUNCTION_LIST::*Call)(Arguments...)>
struct Failing<Call> {
    static CK_RV fail(Arguments...) { return CKR_DEVICE_ERROR; }
};

constexpr CK_ULONG huge = CK_ULONG{1} << 40;

/// A size that is told when it is asked for, and the one that is told with the bytes.
template <CK_ULONG Asked, CK_ULONG More>
CK_RV lie(const void *bytes, CK_ULONG &size) {
    size = bytes == nullptr ? (Asked != 0 ? Asked : size) : size + More;
    return CKR_OK;
}

template <CK_ULONG Asked, CK_ULONG More>
CK_RV attribute(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE *wanted,
                CK_ULONG count) {
    real.C_GetAttributeValue(session, object, wanted, count);
    return lie<Asked, More>(wanted->pValue, wanted->ulValueLen);
}

CK_RV noise(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE *wanted,
            CK_ULONG count) {
    const CK_RV result = real.C_GetAttributeValue(session, object, wanted, count);
    if (wanted->type == CKA_VALUE && wanted->pValue != nullptr)
        *static_cast<CK_BYTE *>(wanted->pValue) = 0;
    return result;
}

template <CK_ULONG Asked, CK_ULONG More>
CK_RV signature(CK_SESSION_HANDLE session, CK_BYTE *text, CK_ULONG size, CK_BYTE *made,
                CK_ULONG *length) {
    real.C_Sign(session, text, size, made, length);
    return lie<Asked, More>(made, *length);
}

template <CK_ULONG Count>
CK_RV objects(CK_SESSION_HANDLE, CK_OBJECT_HANDLE *, CK_ULONG, CK_ULONG *count) {
    *count = Count;
    return CKR_OK;
}

#define FAILING(function)                                                                          \
    {                                                                                              \
#function, [] { spoilt.function = Failing<&CK_FUNCTION_LIST::function>::fail; }            \
    }
const std::map<std::string_view, void (*)()> misdeeds{
    FAILING(C_Initialize),
    FAILING(C_GetInfo),
    FAILING(C_GetSlotList),
    FAILING(C_GetTokenInfo),
    FAILING(C_OpenSession),
    FAILING(C_FindObjectsInit),
    FAILING(C_FindObjects),
    FAILING(C_GetAttributeValue),
    FAILING(C_Login),
    FAILING(C_GetMechanismInfo),
    FAILING(C_SignInit),
    FAILING(C_Sign),
    {"endless slots",
     [] {
         spoilt.C_GetSlotList = [](CK_BBOOL, CK_SLOT_ID *slots, CK_ULONG *count) {
             return lie<huge, 0>(slots, *count);
         };
     }},
    {"objects beyond the room", [] { spoilt.C_FindObjects = objects<17>; }},
    {"endless objects", [] { spoilt.C_FindObjects = objects<16>; }},
    {"attribute not there", [] { spoilt.C_GetAttributeValue = attribute<CK_ULONG(-1), 0>; }},
    {"huge attribute", [] { spoilt.C_GetAttributeValue = attribute<huge, 0>; }},
    {"attribute beyond the room", [] { spoilt.C_GetAttributeValue = attribute<0, 1>; }},
    {"no certificate", [] { spoilt.C_GetAttributeValue = noise; }},
    {"huge signature", [] { spoilt.C_Sign = signature<huge, 0>; }},
    {"signature beyond the room", [] { spoilt.C_Sign = signature<0, 100>; }},
    {"short signature", [] { spoilt.C_Sign = signature<0, CK_ULONG(-1)>; }},
    {"no signature", [] { spoilt.C_Sign = signature<0, CK_ULONG(-64)>; }},
};

} // namespace

extern "C" __attribute__((visibility("default"))) CK_RV C_GetFunctionList(CK_FUNCTION_LIST **list) {
    static void *const library = dlopen(SOFTHSM2_MODULE, RTLD_NOW | RTLD_LOCAL);
    CK_FUNCTION_LIST *found = nullptr;
    reinterpret_cast<CK_C_GetFunctionList>(dlsym(library, "C_GetFunctionList"))(&found);
    real = spoilt = *found;
    const char *const wanted = std::getenv("HOSTILE_MODULE");
    const auto misdeed = misdeeds.find(wanted != nullptr ? wanted : "");
    if (misdeed == misdeeds.end())
        return CKR_FUNCTION_FAILED;
    misdeed->second();
    *list = &spoilt;
    return CKR_OK;
}
