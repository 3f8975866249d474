// SPDX-License-Identifier: MIT
// Shared pieces of the benchmarks: CPU pinning, interleaved rounds, medians
// and the printed comparison.
//
// Every comparison runs its variants side by side in one process: round r
// times each variant once for `iterations` operations, starting with a
// different variant each round, so that slow drifts of the machine (other
// processes, frequency changes) hit every variant alike. A ratio is taken
// within each round and the median of those per-round ratios is reported,
// which is steadier than a ratio of two medians.
#pragma once

#include <sched.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace benchkit {

using Clock = std::chrono::steady_clock;

inline double median(std::vector<double> v)
{
    if (v.empty())
        return 0.0;
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2.0;
}

// A positive integer from the environment, or the fallback.
inline int envInt(const char *name, int fallback)
{
    const char *s = std::getenv(name);
    if (!s || !*s)
        return fallback;
    const int v = std::atoi(s);
    return v > 0 ? v : fallback;
}

// Pins the calling thread, and so every thread it starts later, to one CPU:
// with only a few cores, a peer woken on another CPU adds wake-up latency
// that swamps the few microseconds a round trip costs. BENCH_CPU chooses the
// CPU; by default it is the last one the process may use; BENCH_CPU=none
// leaves the threads unpinned. Returns the CPU, or -1 when not pinned.
inline int pinToOneCpu()
{
    const char *chosen = std::getenv("BENCH_CPU");
    if (chosen && std::string(chosen) == "none")
        return -1;
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0)
        return -1;
    int cpu = -1;
    for (int c = 0; c < CPU_SETSIZE; ++c) {
        if (CPU_ISSET(c, &allowed))
            cpu = c;
    }
    if (chosen && *chosen)
        cpu = std::atoi(chosen);
    if (cpu < 0)
        return -1;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(cpu, &one);
    return sched_setaffinity(0, sizeof one, &one) == 0 ? cpu : -1;
}

inline int onlineCpus()
{
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    return sched_getaffinity(0, sizeof allowed, &allowed) == 0 ? CPU_COUNT(&allowed) : 0;
}

inline std::string loadAverage()
{
    std::string s;
    if (FILE *f = std::fopen("/proc/loadavg", "r")) {
        char buf[128] = {0};
        if (std::fgets(buf, sizeof buf, f))
            s.assign(buf);
        std::fclose(f);
    }
    while (!s.empty() && (s.back() == '\n' || s.back() == ' '))
        s.pop_back();
    // Keep the three averages only.
    size_t pos = 0;
    for (int i = 0; i < 3 && pos != std::string::npos; ++i)
        pos = s.find(' ', pos + 1);
    return pos == std::string::npos ? s : s.substr(0, pos);
}

// Operations that failed while being timed, over the whole program. A
// benchmark program exits non-zero only for these (or when it could not run
// at all); a missed target is reported, not turned into an exit code.
inline int &failures()
{
    static int n = 0;
    return n;
}

struct Variant
{
    std::string name;
    // Performs `iterations` operations; returns false if any of them failed.
    std::function<bool(int iterations)> run;
};

// variants[num] / variants[den], judged against a target (0: none).
struct Ratio
{
    int num;
    int den;
    double target;
};

struct Comparison
{
    std::string title;
    std::string unit;    // of one operation, "us" or "ms"
    double unitScale;    // seconds to unit: 1e6 for us, 1e3 for ms
    int rounds;
    int iterations;      // per variant and round
    std::vector<Variant> variants;
    std::vector<Ratio> ratios;
};

struct Outcome
{
    std::vector<std::vector<double>> perRound; // [variant][round], unit per operation
    bool ok = true;
};

// Runs one warm-up round (not counted) and then the timed rounds.
inline Outcome run(const Comparison &c)
{
    const int n = int(c.variants.size());
    Outcome out;
    out.perRound.assign(n, {});
    for (int r = -1; r < c.rounds; ++r) {
        for (int k = 0; k < n; ++k) {
            const int v = (k + (r < 0 ? 0 : r)) % n;
            const auto t0 = Clock::now();
            const bool ok = c.variants[v].run(c.iterations);
            const auto t1 = Clock::now();
            if (!ok) {
                std::printf("  !! %s: an operation failed in round %d\n", c.variants[v].name.c_str(), r);
                out.ok = false;
                ++failures();
            }
            if (r >= 0) {
                const double s = std::chrono::duration<double>(t1 - t0).count();
                out.perRound[v].push_back(s * c.unitScale / c.iterations);
            }
        }
    }
    return out;
}

// Prints the medians of every variant and each ratio, the median of its
// per-round ratios. Returns false if a target was missed or an operation
// failed.
inline bool print(const Comparison &c, const Outcome &o)
{
    bool met = true;
    size_t width = 8;
    for (const auto &v : c.variants)
        width = std::max(width, v.name.size());
    std::printf("  %-*s  %12s  %12s  %12s\n", int(width), "variant", ("median " + c.unit).c_str(),
                ("min " + c.unit).c_str(), ("max " + c.unit).c_str());
    for (size_t v = 0; v < c.variants.size(); ++v) {
        const auto &pr = o.perRound[v];
        std::printf("  %-*s  %12.3f  %12.3f  %12.3f\n", int(width), c.variants[v].name.c_str(), median(pr),
                    *std::min_element(pr.begin(), pr.end()), *std::max_element(pr.begin(), pr.end()));
    }
    for (const auto &ra : c.ratios) {
        std::vector<double> q;
        for (int r = 0; r < c.rounds; ++r)
            q.push_back(o.perRound[ra.num][r] / o.perRound[ra.den][r]);
        const double m = median(q);
        std::printf("  ratio %s / %s = %.3f (median of %d per-round ratios, range %.3f..%.3f)",
                    c.variants[ra.num].name.c_str(), c.variants[ra.den].name.c_str(), m, c.rounds,
                    *std::min_element(q.begin(), q.end()), *std::max_element(q.begin(), q.end()));
        if (ra.target > 0) {
            const bool ok = m <= ra.target;
            met = met && ok;
            std::printf("; target <= %.2f: %s", ra.target, ok ? "met" : "MISSED");
        }
        std::printf("\n");
    }
    return met && o.ok;
}

// Runs and prints one comparison under a heading. BENCH_ONLY=<text> keeps
// only the variants whose name contains text and drops the ratios, so that
// one variant can be watched alone under strace or perf.
inline bool runAndPrint(Comparison c, const std::string &note)
{
    if (const char *only = std::getenv("BENCH_ONLY")) {
        std::vector<Variant> kept;
        for (const auto &v : c.variants) {
            if (v.name.find(only) != std::string::npos)
                kept.push_back(v);
        }
        c.variants = kept;
        c.ratios.clear();
        if (kept.empty())
            return true;
    }
    std::printf("\n== %s ==\n", c.title.c_str());
    std::printf("  %d rounds x %d per variant, interleaved round by round%s\n", c.rounds, c.iterations,
                note.c_str());
    std::fflush(stdout);
    const std::string before = loadAverage();
    const Outcome o = run(c);
    const bool met = print(c, o);
    std::printf("  load average before %s, after %s\n", before.c_str(), loadAverage().c_str());
    std::fflush(stdout);
    return met;
}

} // namespace benchkit
