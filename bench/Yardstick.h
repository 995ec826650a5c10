#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <time.h>
#include <vector>

/// The turns to run a benchmark for: register it with Iterations(benchTurns(n)). One where the environment variable
/// OBRI_BENCH_ONCE is set, to see that the benchmark still works.
inline int benchTurns(int wanted)
{
    return std::getenv("OBRI_BENCH_ONCE") ? 1 : wanted;
}

/// Times work beside a memcpy of as many bytes, and beside a plain way of doing it where there is one.
///
/// They take turns, so that a busy machine slows all of them alike: read the ratios, not the times. The thread's own
/// clock stands still while another program has the processor, and medians leave out the turns that suffered.
class Yardstick {
public:
    using Work = std::function<void()>;

    /// @param bytesMoved  what the work reads plus what it writes; memcpy reads one half and writes the other
    /// @param repeats     runs within a turn, for work that is short beside reading a clock
    explicit Yardstick(size_t bytesMoved, int repeats = 1)
        : m_source(bytesMoved / 2, 1), m_target(m_source.size()), m_repeats(repeats)
    {
    }

    /// Work that undoes what a turn did to its input; not timed.
    void setPreparation(Work preparation) { m_prepare = std::move(preparation); }
    /// The plain way; every turn of it is timed as well.
    void setPlain(Work plain) { m_plain = std::move(plain); }

    /// Runs the benchmark; register it with UseManualTime() and benchTurns(). Sets the counters x_memcpy and, given a
    /// plain way, x_plain.
    double run(benchmark::State& state, const Work& work)
    {
        std::vector<double> own, copying, plain;
        for (auto _ : state) {
            own.push_back(seconds(work));
            copying.push_back(seconds([this] { memcpy(m_target.data(), m_source.data(), m_source.size()); }));
            if (m_plain)
                plain.push_back(seconds(m_plain));
            state.SetIterationTime(own.back());
        }
        const double taken = median(own);
        state.counters["x_memcpy"] = taken / median(copying);
        if (m_plain)
            state.counters["x_plain"] = taken / median(plain);
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(m_source.size() * 2));
        return taken;
    }

private:
    double seconds(const Work& work)
    {
        if (m_prepare)
            m_prepare();
        const double start = now();
        for (int i = 0; i < m_repeats; ++i) {
            work();
            benchmark::ClobberMemory();
        }
        return (now() - start) / m_repeats;
    }

    static double now()
    {
        timespec time;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    }

    static double median(std::vector<double>& values)
    {
        const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        return *middle;
    }

    std::vector<uint8_t> m_source, m_target;
    int m_repeats;
    Work m_prepare, m_plain;
};
