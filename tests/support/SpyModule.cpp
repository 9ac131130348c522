// A PKCS #11 module that is another one, named by ZRFL_SPIED_MODULE, and writes a line into the file ZRFL_SPY_LOG for
// each call that concerns sessions: its name, its result where it failed, and how many sessions a C_Finalize met open.
#include "Cryptoki.h"

#include <cstddef>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>

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
std::map<Session, Number> slotsOfOpenSessions;

void note(std::string const& line) {
    std::ofstream(std::getenv("ZRFL_SPY_LOG"), std::ios::app) << line << '\n';
}

Result noted(std::string const& call, Result result) {
    std::ostringstream line;
    line << call;
    if (result != CKR_OK) {
        line << " 0x" << std::hex << result;
    }
    note(line.str());
    return result;
}

Result initialize(void* arguments) {
    return noted("C_Initialize", spied->initialize(arguments));
}

Result finalize(void* reserved) {
    std::size_t const open = slotsOfOpenSessions.size();
    slotsOfOpenSessions.clear();
    return noted(open == 0 ? "C_Finalize" : "C_Finalize with sessions open: " + std::to_string(open),
                 spied->finalize(reserved));
}

Result openSession(Number slot, Number flags, void* application, void* notify, Session* session) {
    Result const result = spied->openSession(slot, flags, application, notify, session);
    if (result == CKR_OK) {
        slotsOfOpenSessions[*session] = slot;
    }
    return noted("C_OpenSession", result);
}

Result closeSession(Session session) {
    slotsOfOpenSessions.erase(session);
    return noted("C_CloseSession", spied->closeSession(session));
}

Result closeAllSessions(Number slot) {
    for (auto session = slotsOfOpenSessions.begin(); session != slotsOfOpenSessions.end();) {
        session = session->second == slot ? slotsOfOpenSessions.erase(session) : std::next(session);
    }
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
