// A PKCS #11 module that is another one, named by ZRFL_SPIED_MODULE, and writes a line into the file ZRFL_SPY_LOG for
// each call that concerns sessions: its name, and its result where it failed.
#include "Cryptoki.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

using namespace support::cryptoki;

namespace {

/// The module spied on, unloaded together with this one.
struct Spied {
    void* handle = dlopen(std::getenv("ZRFL_SPIED_MODULE"), RTLD_NOW | RTLD_LOCAL);

    ~Spied() {
        if (handle != nullptr) {
            dlclose(handle);
        }
    }
};

FunctionList* spied = nullptr;

Result noted(char const* call, Result result) {
    FILE* const log = std::fopen(std::getenv("ZRFL_SPY_LOG"), "a");
    if (log != nullptr) {
        if (result == CKR_OK) {
            std::fprintf(log, "%s\n", call);
        } else {
            std::fprintf(log, "%s 0x%lx\n", call, result);
        }
        std::fclose(log);
    }
    return result;
}

Result initialize(void* arguments) {
    return noted("C_Initialize", spied->initialize(arguments));
}

Result finalize(void* reserved) {
    return noted("C_Finalize", spied->finalize(reserved));
}

Result openSession(Number slot, Number flags, void* application, void* notify, Session* session) {
    return noted("C_OpenSession", spied->openSession(slot, flags, application, notify, session));
}

Result closeSession(Session session) {
    return noted("C_CloseSession", spied->closeSession(session));
}

Result closeAllSessions(Number slot) {
    return noted("C_CloseAllSessions", spied->closeAllSessions(slot));
}

Result login(Session session, Number user, unsigned char const* pin, Number size) {
    return noted("C_Login", spied->login(session, user, pin, size));
}

Result logout(Session session) {
    return noted("C_Logout", spied->logout(session));
}

} // namespace

extern "C" __attribute__((visibility("default"))) Result C_GetFunctionList(FunctionList** list) {
    static Spied const module;
    if (module.handle == nullptr) {
        return CKR_GENERAL_ERROR;
    }
    auto const getFunctionList = reinterpret_cast<GetFunctionList>(dlsym(module.handle, "C_GetFunctionList"));
    Result const result = getFunctionList(&spied);
    if (result != CKR_OK) {
        return result;
    }
    static FunctionList spying;
    spying = *spied;
    spying.initialize = initialize;
    spying.finalize = finalize;
    spying.openSession = openSession;
    spying.closeSession = closeSession;
    spying.closeAllSessions = closeAllSessions;
    spying.login = login;
    spying.logout = logout;
    *list = &spying;
    return CKR_OK;
}
