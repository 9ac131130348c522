// Runs the benchmarks and puts the library's times beside those of raw libcrypto from the same run, as ratios.
#include "Case.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

class RatioReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(Context const& /*context*/) override { return true; }

    void ReportRuns(std::vector<Run> const& runs) override {
        for (Run const& run : runs) {
            if (run.iterations == 0 || run.run_type != Run::RT_Iteration) {
                continue;
            }
            std::string const name = run.run_name.function_name;
            std::size_t const slash = name.rfind('/');
            cases_[name.substr(0, slash)][name.substr(slash + 1)].push_back(run.GetAdjustedCPUTime());
        }
    }

    void printTable() const {
        std::printf("%-44s %14s %14s %7s %14s %7s\n", "", "library", "same calls", "ratio", "best", "ratio");
        for (std::string const& name : bench::names()) {
            auto const found = cases_.find(name);
            if (found == cases_.end()) { // not chosen by the filter
                continue;
            }
            Ways const& ways = found->second;
            double const library = median(ways, "library");
            std::printf("%-44s", name.c_str());
            print(library);
            for (char const* const way : {"same calls", "best"}) {
                double const other = median(ways, way);
                print(other);
                if (other > 0) {
                    std::printf(" %6.2fx", library / other);
                } else {
                    std::printf(" %7s", "");
                }
            }
            std::printf("\n");
        }
        std::printf("\nMedian processor time of one call, user and system. A ratio of 1.00x: the library costs nothing beside what it calls.\n");
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

    std::map<std::string, Ways> cases_;
};

} // namespace

int main(int count, char** arguments) {
    // Repetitions in random order, so that what slows the machine for a moment slows all ways alike.
    std::vector<char*> all(arguments, arguments + count);
    std::string repetitions = "--benchmark_repetitions=5";
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    std::string minimum = "--benchmark_min_time=0.05";
    all.insert(all.begin() + 1, {repetitions.data(), interleaving.data(), minimum.data()});
    int size = static_cast<int>(all.size());
    benchmark::Initialize(&size, all.data());
    if (benchmark::ReportUnrecognizedArguments(size, all.data())) {
        return 2;
    }
    RatioReporter reporter;
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
    return 0;
}
