#include "Token.h"

#include "Cryptoki.h"

#include <algorithm>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace support {

namespace {

std::string const module = ZRFL_SOFTHSM_MODULE;
std::string const tool = ZRFL_SOFTHSM_UTIL;

/// As one word for the shell.
std::string quoted(std::string const& word) {
    std::string result = "'";
    for (char const character : word) {
        result += character == '\'' ? std::string("'\\''") : std::string(1, character);
    }
    return result + "'";
}

void mustRun(std::string const& command) {
    CommandResult const result = run(command + " 2>&1");
    if (result.status != 0) {
        throw std::runtime_error("failed: " + command + "\n" + result.output);
    }
}

void mustSucceed(char const* call, cryptoki::Result result) {
    if (result != cryptoki::CKR_OK) {
        throw std::runtime_error(std::string(call) + " answered " + std::to_string(result));
    }
}

/// The configuration of a token in `folder`, written there.
std::string configure(std::filesystem::path const& folder) {
    std::filesystem::create_directory(folder / "tokens");
    std::string const file = folder / "softhsm2.conf";
    writeFile(file, bytes("directories.tokendir = " + (folder / "tokens").string() +
                          "\nobjectstore.backend = file\nlog.level = ERROR\n"));
    return file;
}

void importKey(std::string const& keyFile, std::string const& label, std::string const& identifier) {
    mustRun(quoted(tool) + " --module " + quoted(module) + " --import " + quoted(keyFile) + " --token test --label " +
            label + " --id " + identifier + " --pin 1234");
}

/// Stores a certificate, which the command-line tool cannot do.
void importCertificate(ByteArray const& certificate, ByteArray const& subject, std::string const& label,
                       unsigned char identifier) {
    using namespace cryptoki;
    void* const handle = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        throw std::runtime_error(dlerror());
    }
    FunctionList* list = nullptr;
    mustSucceed("C_GetFunctionList", reinterpret_cast<GetFunctionList>(dlsym(handle, "C_GetFunctionList"))(&list));
    mustSucceed("C_Initialize", list->initialize(nullptr));
    Number slots[2] = {};
    Number slotCount = 2; // the token's, and one that is free for the next token
    mustSucceed("C_GetSlotList", list->getSlotList(1, slots, &slotCount));
    Session session = 0;
    mustSucceed("C_OpenSession",
                list->openSession(slots[0], CKF_RW_SESSION | CKF_SERIAL_SESSION, nullptr, nullptr, &session));
    unsigned char const pin[] = {'1', '2', '3', '4'};
    mustSucceed("C_Login", list->login(session, CKU_USER, pin, sizeof pin));
    unsigned char const yes = 1;
    unsigned char const no = 0;
    Attribute const attributes[] = {
        {CKA_CLASS, &CKO_CERTIFICATE, sizeof(Number)},
        {CKA_CERTIFICATE_TYPE, &CKC_X_509, sizeof(Number)},
        {CKA_TOKEN, &yes, 1},
        {CKA_PRIVATE, &no, 1},
        {CKA_LABEL, label.data(), label.size()},
        {CKA_ID, &identifier, 1},
        {CKA_SUBJECT, subject.data(), subject.size()},
        {CKA_VALUE, certificate.data(), certificate.size()},
    };
    Number object = 0;
    mustSucceed("C_CreateObject", list->createObject(session, attributes, std::size(attributes), &object));
    mustSucceed("C_Finalize", list->finalize(nullptr));
    dlclose(handle);
}

/// What the tokens are copies of.
class PreparedToken {
public:
    PreparedToken() {
        if (module.empty() || tool.empty() || !std::filesystem::exists(ZRFL_PKCS11_PROVIDER)) {
            throw std::runtime_error(
                "This build has no token software, so nothing can show that keys in modules work. tools/setup fetches "
                "it; otherwise install SoftHSM and the provider module pkcs11prov (in ZRFL_PKCS11_PROVIDER_DIR), and "
                "configure anew. ctest -E hsm leaves these tests out.");
        }
        EnvironmentVariable const configuration("SOFTHSM2_CONF", configure(directory_.path()));
        mustRun(quoted(tool) + " --module " + quoted(module) +
                " --init-token --free --label test --pin 1234 --so-pin 5678");
        add("rsa1024", "-algorithm RSA -pkeyopt rsa_keygen_bits:1024", "01");
        add("rsa2048", "-algorithm RSA -pkeyopt rsa_keygen_bits:2048", "02");
        add("rsa3072", "-algorithm RSA -pkeyopt rsa_keygen_bits:3072", "03");
        add("p256", "-algorithm EC -pkeyopt ec_paramgen_curve:P-256", "04");
        add("certified", "-algorithm RSA -pkeyopt rsa_keygen_bits:2048", "05");
        std::string const certificate = directory_ / "certified.der";
        mustRun("openssl req -new -x509 -subj /CN=test -outform DER -key " + quoted(directory_ / "certified.pem") +
                " -out " + quoted(certificate));
        // The name CN=test as X.509 encodes it.
        importCertificate(readFile(certificate), unhex("300f310d300b06035504030c0474657374"), "certified", 5);
    }

    std::filesystem::path const& path() const { return directory_.path(); }

private:
    void add(std::string const& label, std::string const& kind, std::string const& identifier) {
        std::string const file = directory_ / (label + ".pem");
        mustRun("openssl genpkey " + kind + " -out " + quoted(file));
        mustRun("openssl pkey -in " + quoted(file) + " -pubout -out " + quoted(directory_ / (label + ".public.pem")));
        importKey(file, label, identifier);
    }

    TemporaryDirectory directory_;
};

PreparedToken const& preparedToken() {
    static PreparedToken const prepared;
    return prepared;
}

} // namespace

Token::Token() : configuration_("SOFTHSM2_CONF", configure(directory_.path())) {
    std::filesystem::copy(preparedToken().path() / "tokens", directory_.path() / "tokens",
                          std::filesystem::copy_options::recursive);
}

std::string Token::module() {
    return support::module;
}

std::string Token::uri(std::string const& label, std::string const& pin) {
    return "pkcs11:token=test;object=" + label + ";type=private?pin-value=" + pin;
}

std::string Token::publicKeyFile(std::string const& label) const {
    return preparedToken().path() / (label + ".public.pem");
}

void Token::import(std::string const& label, std::string const& newLabel, std::string const& newIdentifier) {
    importKey(preparedToken().path() / (label + ".pem"), newLabel, newIdentifier);
}

std::vector<std::string> Token::files() const {
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(directory_.path() / "tokens")) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

SpyModule::SpyModule(Token const& token)
    : log_(token.scratchFile("spy.log")), spied_("ZRFL_SPIED_MODULE", Token::module()), logged_("ZRFL_SPY_LOG", log_) {}

std::string SpyModule::path() {
    return ZRFL_SPY_MODULE;
}

std::vector<std::string> SpyModule::calls() const {
    std::ifstream log(log_);
    std::vector<std::string> calls;
    for (std::string line; std::getline(log, line);) {
        calls.push_back(line);
    }
    return calls;
}

} // namespace support
