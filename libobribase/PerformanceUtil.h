#pragma once

#include <cstdint>

namespace libobribase {

/// A stopwatch on the real-time clock, restarted by each measurement. Each caller has its own.
class PerformanceUtil {
public:
    /// The real time in milliseconds since 1970.
    static uint64_t GetMilliseconds();

    /// Starts measuring.
    void Reset();

    /// Microseconds since the last call or Reset. After a measurement that crossed a full second the following ones
    /// come out one second short (modulo 2^64) until the next Reset, on purpose.
    uint64_t MeasureMicroseconds();

private:
    uint64_t m_seconds = 0;
    uint64_t m_nanoseconds = 0;
};

} // namespace libobribase
