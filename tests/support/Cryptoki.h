#ifndef ZRFL_TESTS_SUPPORT_CRYPTOKI_H
#define ZRFL_TESTS_SUPPORT_CRYPTOKI_H

/// As much of the PKCS #11 interface (OASIS, version 2.40) as the tests use: its types under names of this project, the
/// values under theirs.
namespace support::cryptoki {

using Number = unsigned long;
using Result = unsigned long;
using Session = unsigned long;

constexpr Result CKR_OK = 0x000;
constexpr Result CKR_GENERAL_ERROR = 0x005;

constexpr Number CKF_RW_SESSION = 0x002;
constexpr Number CKF_SERIAL_SESSION = 0x004;
constexpr Number CKU_USER = 1;

constexpr Number CKO_CERTIFICATE = 0x001;
constexpr Number CKC_X_509 = 0x000;
constexpr Number CKA_CLASS = 0x000;
constexpr Number CKA_TOKEN = 0x001;
constexpr Number CKA_PRIVATE = 0x002;
constexpr Number CKA_LABEL = 0x003;
constexpr Number CKA_VALUE = 0x011;
constexpr Number CKA_CERTIFICATE_TYPE = 0x080;
constexpr Number CKA_SUBJECT = 0x101;
constexpr Number CKA_ID = 0x102;

struct Attribute {
    Number type;
    void const* value;
    Number size;
};

/// CK_FUNCTION_LIST: 68 functions in their fixed order, those that no test calls without their names.
struct FunctionList {
    unsigned char version[2];
    Result (*initialize)(void* arguments);
    Result (*finalize)(void* reserved);
    void (*unused2[2])();
    Result (*getSlotList)(unsigned char tokenPresent, Number* slots, Number* count);
    void (*unused5[7])();
    Result (*openSession)(Number slot, Number flags, void* application, void* notify, Session* session);
    Result (*closeSession)(Session session);
    Result (*closeAllSessions)(Number slot);
    void (*unused15[3])();
    Result (*login)(Session session, Number user, unsigned char const* pin, Number size);
    Result (*logout)(Session session);
    Result (*createObject)(Session session, Attribute const* attributes, Number count, Number* object);
    void (*unused21[47])();
};

static_assert(sizeof(FunctionList) == 69 * sizeof(void*));

using GetFunctionList = Result (*)(FunctionList** list);

} // namespace support::cryptoki

#endif
