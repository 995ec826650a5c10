#pragma once

#include <cstddef>
#include <vector>

/// What a process holds at one moment.
struct SProcessSample {
    size_t residentKiB = 0; ///< memory in RAM
    size_t descriptors = 0;
    size_t threads = 0;
};

/// Samples a process, to show that nothing of it grows.
class ProcessGauge {
public:
    explicit ProcessGauge(int processId) : m_processId(processId) {}

    /// Takes a sample; false when the process is gone.
    bool sample();
    /// Median of a figure over the samples from one share of the run to another, 0 to 1.
    size_t median(size_t SProcessSample::*figure, double from, double to) const;

private:
    int m_processId;
    std::vector<SProcessSample> m_samples;
};
