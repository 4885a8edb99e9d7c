// Interleaved rounds: every competitor runs once in each round, so that a busy moment of the machine affects
// all of them; the median of the rounds counts.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace zq::bench {

constexpr int kRounds = 11;

struct Competitor {
    std::string name;
    std::function<void()> run;
    double median = 0; // seconds of one run
};

inline void RunRounds(std::vector<Competitor>& competitors, int runsPerRound = 1) {
    std::vector<std::vector<double>> seconds(competitors.size());
    for (int round = 0; round < kRounds + 1; ++round) {
        for (size_t i = 0; i < competitors.size(); ++i) {
            const auto start = std::chrono::steady_clock::now();
            for (int run = 0; run < runsPerRound; ++run) {
                competitors[i].run();
            }
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
            if (round != 0) { // the first warms up
                seconds[i].push_back(taken.count() / runsPerRound);
            }
        }
    }
    for (size_t i = 0; i < competitors.size(); ++i) {
        std::nth_element(seconds[i].begin(), seconds[i].begin() + kRounds / 2, seconds[i].end());
        competitors[i].median = seconds[i][kRounds / 2];
    }
}

// Prints every median and its ratio to the first competitor's; `unit` is what `perUnit` seconds are.
inline void Print(const std::string& title, const std::vector<Competitor>& all, double perUnit,
                  const char* unit) {
    std::printf("%s\n", title.c_str());
    for (const Competitor& competitor : all) {
        std::printf("  %-36s %12.2f %-10s x %.2f\n", competitor.name.c_str(), competitor.median / perUnit,
                    unit, competitor.median / all.front().median);
    }
}

// A figure for scripts/bench.sh, which makes tables and charts of them: one competitor at one size of a
// group.
inline void Record(const char* group, double size, const std::string& name, double value) {
    std::printf("@\t%s\t%.0f\t%s\t%.6g\n", group, size, name.c_str(), value);
}

inline void Record(const char* group, double size, const std::vector<Competitor>& all, double perUnit) {
    for (const Competitor& competitor : all) {
        Record(group, size, competitor.name, competitor.median / perUnit);
    }
}

// Keeps a result from being optimised away.
template <class T>
void Use(const T& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

} // namespace zq::bench
