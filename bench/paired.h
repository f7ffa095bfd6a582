// Ratio of two ways to do the same, measured in turn so that a drift of the machine's speed hits both.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

struct PairedResult {
    double subject_ns;  // median time of one operation
    double baseline_ns;
    double ratio;  // median of the pairs' ratios
};

template <typename Run>
double time_ns(Run&& run, int operations) {
    const auto start = std::chrono::steady_clock::now();
    run(operations);
    const std::chrono::duration<double, std::nano> took = std::chrono::steady_clock::now() - start;
    return took.count() / operations;
}

inline double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

// Runs subject(n) and baseline(n) `pairs` times each, in turn, behind one round that is not counted.
template <typename Subject, typename Baseline>
PairedResult measure_pairs(Subject&& subject, Baseline&& baseline, int operations, int pairs) {
    std::vector<double> subject_ns;
    std::vector<double> baseline_ns;
    std::vector<double> ratios;
    for (int pair = -1; pair < pairs; ++pair) {
        // The order within a pair alternates too.
        double a = 0;
        double b = 0;
        if (pair % 2 == 0) {
            a = time_ns(subject, operations);
            b = time_ns(baseline, operations);
        } else {
            b = time_ns(baseline, operations);
            a = time_ns(subject, operations);
        }
        if (pair >= 0) {
            subject_ns.push_back(a);
            baseline_ns.push_back(b);
            ratios.push_back(a / b);
        }
    }
    return {median(subject_ns), median(baseline_ns), median(ratios)};
}

inline void print_pairs(const char* name, const PairedResult& result) {
    std::printf("%-48s %10.1f ns  baseline %10.1f ns  ratio %.3f\n", name, result.subject_ns, result.baseline_ns,
                result.ratio);
}
