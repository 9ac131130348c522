#ifndef ZRFL_EXAMPLES_TEMPORARYTOKEN_H
#define ZRFL_EXAMPLES_TEMPORARYTOKEN_H

#include "Files.h"

#include <foundation/crypto/utils/ByteArray.h>
#include <foundation/crypto/utils/HSMObject.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

/// A token of SoftHSM in a temporary folder, with one private key on it; gone without a trace when the object goes. For
/// demonstrations: a real key is made inside its module. There can be one at a time, since an environment variable
/// tells SoftHSM which folder to use.
class TemporaryToken {
public:
    /// @param privateKey an RSA key as PKCS #8 DER.
    ///
    /// @throws std::runtime_error where there is no SoftHSM, or no provider module to reach it by; the text tells why.
    explicit TemporaryToken(foundation::crypto::utils::ByteArray const& privateKey) {
        requireSoftware();
        std::string pattern = (std::filesystem::temp_directory_path() / "zrflcrypto-token-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary folder can be made");
        }
        directory_ = pattern;
        try {
            fill(privateKey);
        } catch (...) {
            remove();
            throw;
        }
    }

    ~TemporaryToken() { remove(); }

    TemporaryToken(TemporaryToken const&) = delete;
    TemporaryToken& operator=(TemporaryToken const&) = delete;

    /// @throws std::runtime_error as the constructor, as far as can be told without making a token.
    static void requireSoftware() {
        requireFile(ZRFL_SOFTHSM_MODULE, "SoftHSM (libsofthsm2.so)");
        requireFile(ZRFL_SOFTHSM_UTIL, "SoftHSM (softhsm2-util)");
        requireFile(ZRFL_PKCS11_PROVIDER, "OpenSSL's PKCS #11 provider module");
    }

    /// Where the key is: the module's file, and the key's URI with the PIN.
    foundation::crypto::utils::HSMObject const& key() const { return key_; }

private:
    static void requireFile(std::string const& file, std::string const& what) {
        std::error_code ignored;
        if (file.empty() || !std::filesystem::exists(file, ignored)) {
            throw std::runtime_error(what + " is not there" + (file.empty() ? "" : ": " + file));
        }
    }

    void fill(foundation::crypto::utils::ByteArray const& privateKey) {
        std::filesystem::path const keyFile = directory_ / "key.pem";
        std::filesystem::path const configuration = directory_ / "softhsm2.conf";
        std::filesystem::create_directory(directory_ / "tokens");
        std::ofstream(configuration) << "directories.tokendir = " << (directory_ / "tokens").string()
                                     << "\nobjectstore.backend = file\nlog.level = ERROR\n";
        setenv("SOFTHSM2_CONF", configuration.c_str(), 1);
        std::ofstream(keyFile) << files::pem("PRIVATE KEY", privateKey);
        run("--init-token --free --label temporary --pin 1234 --so-pin 5678");
        run("--import " + quoted(keyFile) + " --token temporary --label key --id 01 --pin 1234");
        std::filesystem::remove(keyFile);
    }

    void remove() noexcept {
        unsetenv("SOFTHSM2_CONF");
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    }

    static void run(std::string const& arguments) {
        std::string const command =
            quoted(ZRFL_SOFTHSM_UTIL) + " --module " + quoted(ZRFL_SOFTHSM_MODULE) + " " + arguments;
        // NOLINTNEXTLINE(cert-env33-c,concurrency-mt-unsafe): every argument is quoted, and there is one thread
        if (std::system((command + " >/dev/null 2>&1 </dev/null").c_str()) != 0) {
            throw std::runtime_error("softhsm2-util failed: " + command);
        }
    }

    /// As one word for the shell.
    static std::string quoted(std::string const& word) {
        std::string result = "'";
        for (char const character : word) {
            result += character == '\'' ? std::string("'\\''") : std::string(1, character);
        }
        return result + "'";
    }

    std::filesystem::path directory_;
    foundation::crypto::utils::HSMObject const key_{ZRFL_SOFTHSM_MODULE,
                                                    "pkcs11:token=temporary;object=key;type=private?pin-value=1234"};
};

#endif
