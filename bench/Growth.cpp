// How the library's operations grow with their messages, from 16 bytes to 1 GiB: the time of a call, and how much it
// adds to the resident memory at its peak. Each measurement is a process of its own, so that none leaves anything to
// the next.
#include "TemporaryToken.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/crypto.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <malloc.h>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace foundation::crypto;
using openssl::CryptoProvider;
using utils::AESMode;
using utils::ByteArray;
using utils::RSAPaddingMode;

CryptoProvider const provider;

constexpr std::size_t smallest = 16;
constexpr std::size_t largest = std::size_t(1) << 30;

using Work = std::function<void()>;

/// What is measured. `prepare` makes the objects and the message, and returns the call.
struct Operation {
    std::string family;
    std::string name;
    std::function<Work(std::size_t)> prepare;
    std::size_t largestMessage = largest;
};

/// A folder that is gone when the process ends.
class Folder {
public:
    Folder() : path_((std::filesystem::temp_directory_path() / "zrflgrowthXXXXXX").string()) {
        if (mkdtemp(path_.data()) == nullptr) {
            throw std::runtime_error("no temporary folder can be made");
        }
    }

    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    Folder(Folder const&) = delete;
    Folder& operator=(Folder const&) = delete;

    std::string file(char const* name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

/// Called before any measurement: the processes that measure leave by `_exit` and remove nothing.
Folder const& folder() {
    static Folder const made;
    return made;
}

/// A file of zeros.
std::string fileOf(std::size_t size) {
    std::string path = folder().file("message");
    std::ofstream(path).close();
    std::filesystem::resize_file(path, size);
    return path;
}

// Families

template <class Create> void addEngine(std::vector<Operation>& all, std::string const& family, Create create) {
    all.push_back({family, "bytes", [=](std::size_t size) {
                       return [engine = create(), message = ByteArray(size)] { engine->computeDigest(message); };
                   }});
    all.push_back({family, "file", [=](std::size_t size) {
                       return [engine = create(), path = fileOf(size)] {
                           std::ifstream message(path, std::ios::binary);
                           engine->computeDigest(message);
                       };
                   }});
}

auto encryptor(AESMode mode) {
    return provider.createAES256Encryptor(provider.createAES256Key(ByteArray(32)),
                                          ByteArray(mode == AESMode::GCM ? 12 : 16), mode, {}, nullptr);
}

auto decryptor(AESMode mode) {
    return provider.createAES256Decryptor(provider.createAES256Key(ByteArray(32)),
                                          ByteArray(mode == AESMode::GCM ? 12 : 16), mode, {}, nullptr);
}

template <class Transform> Work transformFile(Transform transform, std::string const& from) {
    return [=] {
        std::ifstream input(from, std::ios::binary);
        std::ofstream output("/dev/null", std::ios::binary);
        transform(input, output);
    };
}

Work decryptFile(AESMode mode, std::size_t size) {
    std::string const from = fileOf(size);
    std::string const to = folder().file("encrypted");
    {
        std::ifstream input(from, std::ios::binary);
        std::ofstream output(to, std::ios::binary);
        encryptor(mode)->encrypt(input, output);
    }
    return transformFile(
        [object = decryptor(mode)](std::istream& input, std::ostream& output) { object->decrypt(input, output); }, to);
}

void addBytes(std::vector<Operation>& all, std::string const& family, AESMode mode) {
    all.push_back({family, "encrypt bytes", [=](std::size_t size) {
                       return [object = encryptor(mode), message = ByteArray(size)] { object->encrypt(message); };
                   }});
    all.push_back({family, "decrypt bytes", [=](std::size_t size) {
                       return [object = decryptor(mode), message = encryptor(mode)->encrypt(ByteArray(size))] {
                           object->decrypt(message);
                       };
                   }});
}

/// Streams of all modes are read and written alike.
void addFiles(std::vector<Operation>& all, std::string const& family, AESMode mode) {
    all.push_back({family, "encrypt file", [=](std::size_t size) {
                       return transformFile(
                           [object = encryptor(mode)](std::istream& input, std::ostream& output) {
                               object->encrypt(input, output);
                           },
                           fileOf(size));
                   }});
    all.push_back({family, "decrypt file", [=](std::size_t size) { return decryptFile(mode, size); }});
}

/// `makeSigner` and `makeVerifier` make objects for one pair of keys, which `generate` makes.
template <class Generate, class MakeSigner, class MakeVerifier, class Engine>
void addSignatures(std::vector<Operation>& all, std::string const& family, Generate generate, MakeSigner makeSigner,
                   MakeVerifier makeVerifier, Engine createEngine) {
    all.push_back({family, "sign bytes", [=](std::size_t size) {
                       return [signer = makeSigner(generate()), engine = createEngine(), message = ByteArray(size)] {
                           signer->sign(message, engine);
                       };
                   }});
    all.push_back({family, "sign file", [=](std::size_t size) {
                       return [signer = makeSigner(generate()), engine = createEngine(), path = fileOf(size)] {
                           std::ifstream message(path, std::ios::binary);
                           signer->sign(message, engine);
                       };
                   }});
    all.push_back({family, "check bytes", [=](std::size_t size) {
                       auto const pair = generate();
                       auto const engine = createEngine();
                       ByteArray const message(size);
                       return [=, verifier = makeVerifier(pair), signature = makeSigner(pair)->sign(message, engine)] {
                           verifier->verify(message, signature, engine);
                       };
                   }});
    all.push_back({family, "check file", [=](std::size_t size) {
                       auto const pair = generate();
                       auto const engine = createEngine();
                       std::string const path = fileOf(size);
                       std::ifstream input(path, std::ios::binary);
                       return [=, verifier = makeVerifier(pair), signature = makeSigner(pair)->sign(input, engine)] {
                           std::ifstream message(path, std::ios::binary);
                           verifier->verify(message, signature, engine);
                       };
                   }});
}

auto prng() {
    return provider.createDefaultCryptoPRNG({});
}

auto const& rsaPair() {
    static auto const pair = provider.generateRSA2048KeyPair(prng());
    return pair;
}

void addRSA(std::vector<Operation>& all) {
    addSignatures(
        all, "RSA-2048 PSS", [] { return rsaPair(); },
        [](auto const& pair) {
            return provider.createRSA2048Signer(pair->getPrivateKey(), RSAPaddingMode::PSS, prng());
        },
        [](auto const& pair) {
            return provider.createRSA2048Verifier(pair->getPublicKey(), RSAPaddingMode::PSS, prng());
        },
        [] { return provider.createSHA256DigestEngine(); });
    // A block for each 190 bytes: whoever has more takes AES, and an hour would not do for 1 GiB.
    auto const encrypting = [] {
        return provider.createRSA2048Encryptor(rsaPair()->getPublicKey(), RSAPaddingMode::OAEP_SHA256, prng());
    };
    all.push_back(
        {"RSA-2048 OAEP", "encrypt file",
         [=](std::size_t size) {
             return transformFile(
                 [object = encrypting()](std::istream& input, std::ostream& output) { object->encrypt(input, output); },
                 fileOf(size));
         },
         std::size_t(1) << 20});
    all.push_back({"RSA-2048 OAEP", "decrypt file",
                   [=](std::size_t size) {
                       std::string const to = folder().file("encrypted");
                       {
                           std::ifstream input(fileOf(size), std::ios::binary);
                           std::ofstream output(to, std::ios::binary);
                           encrypting()->encrypt(input, output);
                       }
                       auto const object = provider.createRSA2048Decryptor(rsaPair()->getPrivateKey(),
                                                                           RSAPaddingMode::OAEP_SHA256, prng());
                       return transformFile(
                           [=](std::istream& input, std::ostream& output) { object->decrypt(input, output); }, to);
                   },
                   std::size_t(1) << 18});
}

void addCurves(std::vector<Operation>& all) {
    addSignatures(
        all, "P-256", [] { return provider.generateECCP256KeyPair(); },
        [](auto const& pair) { return provider.createECCP256Signer(pair->getPrivateKey()); },
        [](auto const& pair) { return provider.createECCP256Verifier(pair->getPublicKey()); },
        [] { return provider.createSHA256DigestEngine(); });
    addSignatures(
        all, "Ed25519", [] { return provider.generateECCCurve25519KeyPair(); },
        [](auto const& pair) { return provider.createECCCurve25519Signer(pair->getPrivateKey()); },
        [](auto const& pair) { return provider.createECCCurve25519Verifier(pair->getPublicKey()); },
        [] { return provider.createSHA512DigestEngine(); });
}

void addHSM(std::vector<Operation>& all) {
    static std::optional<TemporaryToken> token;
    try {
        token.emplace(rsaPair()->getPrivateKey()->getDER());
    } catch (std::runtime_error const& error) {
        std::fprintf(stderr, "HSM left out: %s\n", error.what());
        return;
    }
    auto const sign = [] {
        return [signer = provider.createHSMSigner(token->key(), RSAPaddingMode::PSS, nullptr),
                engine = provider.createSHA256DigestEngine()](auto& message) { signer->sign(message, engine); };
    };
    all.push_back({"HSM RSA-2048 PSS", "sign bytes",
                   [=](std::size_t size) { return [sign = sign(), message = ByteArray(size)] { sign(message); }; }});
    all.push_back({"HSM RSA-2048 PSS", "sign file", [=](std::size_t size) {
                       return [sign = sign(), path = fileOf(size)] {
                           std::ifstream message(path, std::ios::binary);
                           sign(message);
                       };
                   }});
}

std::vector<Operation> allOperations() {
    std::vector<Operation> all;
    addEngine(all, "SHA-256", [] { return provider.createSHA256DigestEngine(); });
    addEngine(all, "HMAC-SHA-256", [] { return provider.createHMACSHA256DigestEngine(ByteArray(32)); });
    addEngine(all, "BLAKE2b", [] { return provider.createBlake2bDigestEngine({}, {}); });
    addEngine(all, "BLAKE2b keyed", [] { return provider.createBlake2bDigestEngine(ByteArray(32), {}); });
    addBytes(all, "AES-256 GCM", AESMode::GCM);
    addFiles(all, "AES-256 GCM", AESMode::GCM);
    addBytes(all, "AES-256 CTR", AESMode::CTR);
    addBytes(all, "AES-256 CBC", AESMode::CBC);
    addBytes(all, "AES-256 CFB", AESMode::CFB);
    addBytes(all, "AES-256 OFB", AESMode::OFB);
    addRSA(all);
    addCurves(all);
    all.push_back({"random bytes", "bytes", [](std::size_t size) {
                       return [generator = prng(), size] { generator->generateRandomBytes(size); };
                   }});
    all.push_back({"PBKDF2, 1000 iterations", "password",
                   [](std::size_t size) {
                       return [password = std::string(size, 'p')] {
                           provider.deriveKeyUsingPBKDF2(password, "a salt of 16 B..", 32, 1000);
                       };
                   },
                   65535});
    addHSM(all);
    return all;
}

// Measuring

struct Result {
    double nanoseconds;
    std::size_t peak;
};

/// A line of /proc/self/status that has kilobytes.
std::size_t readStatus(std::string const& field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(field + ":", 0) == 0) {
            return std::stoul(line.substr(field.size() + 1)) * 1024;
        }
    }
    throw std::runtime_error("/proc/self/status has no " + field);
}

/// Processor time, user and system, which other processes hardly lengthen.
double processorTime() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return (static_cast<double>(now.tv_sec) * 1e9) + static_cast<double>(now.tv_nsec);
}

/// The shortest of three repetitions, of which each takes long enough for the clock; of long calls, one.
double timeOf(Work const& work) {
    constexpr double enough = 4e6;
    constexpr double isLong = 2e8;
    double shortest = 0;
    std::size_t calls = 1;
    for (int repetitions = 0; repetitions < 3;) {
        double const start = processorTime();
        for (std::size_t call = 0; call < calls; ++call) {
            work();
        }
        double const took = processorTime() - start;
        if (took < enough) {
            calls *= 2;
            continue;
        }
        double const each = took / static_cast<double>(calls);
        shortest = repetitions == 0 ? each : std::min(shortest, each);
        repetitions += took > isLong ? 3 : 1;
    }
    return shortest;
}

/// Makes the first call, which finds all in place that libcrypto makes once, and asks the kernel for its peak.
Result measure(Operation const& operation, std::size_t size) {
    operation.prepare(smallest)();
    Work const work = operation.prepare(size);
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5"; // the peak begins anew
    std::size_t const before = readStatus("VmRSS");
    work();
    std::size_t const peak = readStatus("VmHWM");
    return {timeOf(work), peak > before ? peak - before : 0};
}

Result measureInChild(Operation const& operation, std::size_t size) {
    int ends[2];
    if (pipe(ends) != 0) {
        throw std::runtime_error("no pipe");
    }
    pid_t const child = fork();
    if (child == 0) {
        int status = 1;
        try {
            Result const result = measure(operation, size);
            status = write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1;
        } catch (std::exception const& error) {
            std::fprintf(stderr, "%s, %s: %s\n", operation.family.c_str(), operation.name.c_str(), error.what());
        }
        _exit(status);
    }
    close(ends[1]);
    Result result{};
    bool const whole = read(ends[0], &result, sizeof result) == sizeof result;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    if (!whole) {
        throw std::runtime_error("a measurement failed");
    }
    return result;
}

/// As Google Benchmark's JSON has it, with the peak as a counter.
void write(std::FILE* file, bool isFirst, Operation const& operation, std::size_t size, Result const& result) {
    std::fprintf(
        file, "%s\n    {\"name\": \"%s/%s/%zu\", \"cpu_time\": %.4g, \"time_unit\": \"ns\", \"peak_bytes\": %zu}",
        isFirst ? "" : ",", operation.family.c_str(), operation.name.c_str(), size, result.nanoseconds, result.peak);
}

std::string today() {
    std::time_t const now = std::time(nullptr);
    std::tm parts{};
    char text[sizeof "2026-01-01"];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%d", gmtime_r(&now, &parts))};
}

int run(std::string const& path, std::string const& only) {
    std::FILE* const file = path.empty() ? nullptr : std::fopen(path.c_str(), "w");
    if (file != nullptr) {
        std::fprintf(
            file, "{\n  \"context\": {\"date\": \"%s\", \"num_cpus\": %ld, \"OpenSSL\": \"%s\"},\n  \"benchmarks\": [",
            today().c_str(), sysconf(_SC_NPROCESSORS_ONLN), OpenSSL_version(OPENSSL_VERSION_STRING));
    }
    std::printf("%-52s %12s %14s %10s %10s\n", "", "bytes", "a call", "a byte", "memory");
    bool isFirst = true;
    folder();
    for (Operation const& operation : allOperations()) {
        if (operation.family.find(only) == std::string::npos) {
            continue;
        }
        for (std::size_t size = smallest; size <= operation.largestMessage; size *= 4) {
            Result const result = measureInChild(operation, size);
            std::printf("%-52s %12zu %11.2f us %7.2f ns %6zu KiB\n", (operation.family + ", " + operation.name).c_str(),
                        size, result.nanoseconds / 1e3, result.nanoseconds / static_cast<double>(size),
                        result.peak / 1024);
            std::fflush(stdout);
            if (file != nullptr) {
                write(file, isFirst, operation, size, result);
                isFirst = false;
            }
        }
    }
    if (file != nullptr) {
        std::fprintf(file, "\n  ]\n}\n");
        return std::fclose(file) == 0 ? 0 : 1;
    }
    return 0;
}

} // namespace

/// Usage: growth [--json=FILE] [FAMILY]
int main(int count, char** arguments) {
    std::string path;
    std::string only;
    for (std::string const& argument : std::vector<std::string>(arguments + 1, arguments + count)) {
        if (argument.rfind("--json=", 0) == 0) {
            path = argument.substr(7);
        } else {
            only = argument;
        }
    }
    try {
        return run(path, only);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
