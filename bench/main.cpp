// Runs the benchmarks and puts the library's times beside those of the other ways to do the work, from the same run.
#include "Case.h"

#include <benchmark/benchmark.h>

#include <openssl/crypto.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

char const* const allPeers[] = {"Botan", "Crypto++", "libsodium"};

bool isShorter(benchmark::BenchmarkReporter::Run const& one, benchmark::BenchmarkReporter::Run const& other) {
    return one.GetAdjustedCPUTime() < other.GetAdjustedCPUTime();
}

/// One repetition of each case as Google Benchmark's JSON, of several runs in one file: the shortest, since whatever
/// else the machine does only lengthens them; on threads, where they get into each other's way, the median.
class File {
public:
    using Run = benchmark::BenchmarkReporter::Run;

    explicit File(char const* path) : out_(path) { json_.SetOutputStream(&out_); }

    void reportContext(benchmark::BenchmarkReporter::Context const& context) {
        if (!begun_) {
            json_.ReportContext(context);
            begun_ = true;
        }
    }

    /// All repetitions of one case, or what was computed of them.
    void reportRuns(std::vector<Run> runs) {
        if (runs.empty() || runs.front().run_type != Run::RT_Iteration) {
            return;
        }
        auto chosen = runs.begin();
        if (chosen->run_name.function_name.find("key pair") != std::string::npos) {
            chosen += static_cast<std::ptrdiff_t>(runs.size() / 2);
            std::nth_element(runs.begin(), chosen, runs.end(), isShorter);
        } else {
            chosen = std::min_element(runs.begin(), runs.end(), isShorter);
        }
        json_.ReportRuns({*chosen});
    }

    bool finish() {
        json_.Finalize();
        return out_.flush().good();
    }

private:
    std::ofstream out_;
    benchmark::JSONReporter json_;
    bool begun_ = false;
};

class RatioReporter : public benchmark::BenchmarkReporter {
public:
    explicit RatioReporter(File* file) : file_(file) {}

    bool ReportContext(Context const& context) override {
        if (file_ != nullptr) {
            file_->reportContext(context);
        }
        return true;
    }

    void ReportRuns(std::vector<Run> const& runs) override {
        for (Run const& run : runs) {
            if (run.iterations == 0 || run.run_type != Run::RT_Iteration) {
                continue;
            }
            std::string const name = run.run_name.function_name;
            std::size_t const slash = name.rfind('/');
            cases_[name.substr(0, slash)][name.substr(slash + 1)].push_back(run.GetAdjustedCPUTime());
        }
        if (file_ != nullptr) {
            file_->reportRuns(runs);
        }
    }

    void printTable() const {
        std::vector<char const*> others;
        for (char const* const way : {"same calls", "best", "Botan", "Crypto++", "libsodium"}) {
            if (std::any_of(cases_.begin(), cases_.end(),
                            [&](auto const& row) { return row.second.count(way) != 0; })) {
                others.push_back(way);
            }
        }
        std::printf("%-52s %14s", "", "library");
        for (char const* const way : others) {
            std::printf(" %14s %7s", way, "ratio");
        }
        std::printf("\n");
        for (std::string const& name : bench::names()) {
            auto const found = cases_.find(name);
            if (found != cases_.end()) { // chosen by the filter
                printRow(name, found->second, others);
            }
        }
        std::printf("\nMedian processor time of one call, user and system. A ratio of 1.00x: the library costs nothing "
                    "beside what it calls.\nBelow: it is ahead.\n");
    }

private:
    using Ways = std::map<std::string, std::vector<double>>;

    static double median(Ways const& ways, std::string const& way) {
        auto const found = ways.find(way);
        if (found == ways.end()) {
            return 0;
        }
        std::vector<double> times = found->second;
        auto const middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
        std::nth_element(times.begin(), middle, times.end());
        return *middle;
    }

    static void printRow(std::string const& name, Ways const& ways, std::vector<char const*> const& others) {
        std::printf("%-52s", name.c_str());
        double const library = median(ways, "library");
        print(library);
        for (char const* const way : others) {
            double const other = median(ways, way);
            print(other);
            if (other > 0 && library > 0) {
                std::printf(" %6.2fx", library / other);
            } else {
                std::printf(" %7s", "");
            }
        }
        std::printf("\n");
    }

    static void print(double nanoseconds) {
        if (nanoseconds <= 0) {
            std::printf(" %14s", "");
        } else if (nanoseconds < 1e4) {
            std::printf(" %11.1f ns", nanoseconds);
        } else if (nanoseconds < 1e7) {
            std::printf(" %11.1f us", nanoseconds / 1e3);
        } else {
            std::printf(" %11.1f ms", nanoseconds / 1e6);
        }
    }

    File* file_;
    std::map<std::string, Ways> cases_;
};

/// Tells which libraries take part, in the file too.
void tellVersions() {
    benchmark::AddCustomContext("OpenSSL", OpenSSL_version(OPENSSL_VERSION_STRING));
    std::printf("OpenSSL %s", OpenSSL_version(OPENSSL_VERSION_STRING));
    for (char const* const peer : allPeers) {
        auto const found = bench::peers().find(peer);
        std::string const version = found == bench::peers().end() ? "absent" : found->second;
        benchmark::AddCustomContext(peer, version);
        std::printf(", %s %s", peer, version.c_str());
    }
    std::printf("\n\n");
}

/// Takes `--json=FILE` out of the arguments.
char const* takeFile(std::vector<char*>& arguments) {
    constexpr char option[] = "--json=";
    auto const found = std::find_if(arguments.begin(), arguments.end(), [&](char const* argument) {
        return std::strncmp(argument, option, sizeof option - 1) == 0;
    });
    if (found == arguments.end()) {
        return nullptr;
    }
    char const* const path = *found + sizeof option - 1;
    arguments.erase(found);
    return path;
}

} // namespace

int main(int count, char** arguments) {
    // Repetitions in random order, so that what slows the machine for a moment slows all ways alike.
    std::vector<char*> all(arguments, arguments + count);
    std::string repetitions = "--benchmark_repetitions=5";
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    std::string minimum = "--benchmark_min_time=0.05";
    all.insert(all.begin() + 1, {repetitions.data(), interleaving.data(), minimum.data()});
    char const* const path = takeFile(all);
    std::unique_ptr<File> const file(path == nullptr ? nullptr : new File(path));
    int size = static_cast<int>(all.size());
    benchmark::Initialize(&size, all.data());
    if (benchmark::ReportUnrecognizedArguments(size, all.data())) {
        return 2;
    }
    for (auto const& addCases : bench::peerCases()) {
        addCases();
    }
    tellVersions();
    RatioReporter reporter(file.get());
    std::ostringstream complaints; // of a run that the filter leaves without cases
    reporter.SetErrorStream(&complaints);
    std::size_t ran = benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::ClearRegisteredBenchmarks();
    for (auto const& addCases : bench::lastCases()) {
        addCases();
    }
    ran += benchmark::RunSpecifiedBenchmarks(&reporter);
    if (ran == 0) {
        std::fprintf(stderr, "no case has such a name\n");
        return 1;
    }
    reporter.printTable();
    if (file != nullptr && !file->finish()) {
        std::fprintf(stderr, "%s could not be written\n", path);
        return 1;
    }
    return 0;
}
