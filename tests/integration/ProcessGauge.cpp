#include "ProcessGauge.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

size_t entriesOf(const std::filesystem::path& folder)
{
    std::error_code error;
    size_t count = 0;
    for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end; it.increment(error))
        ++count;
    return count;
}

} // namespace

bool ProcessGauge::sample()
{
    const std::filesystem::path process = "/proc/" + std::to_string(m_processId);
    std::ifstream status(process / "status");
    SProcessSample sample;
    for (std::string word; status >> word;)
        if (word == "VmRSS:")
            status >> sample.residentKiB;
    if (sample.residentKiB == 0)
        return false;
    sample.descriptors = entriesOf(process / "fd");
    sample.threads = entriesOf(process / "task");
    m_samples.push_back(sample);
    return true;
}

size_t ProcessGauge::median(size_t SProcessSample::*figure, double from, double to) const
{
    const auto begin = static_cast<size_t>(from * static_cast<double>(m_samples.size()));
    const auto end = std::max(begin + 1, static_cast<size_t>(to * static_cast<double>(m_samples.size())));
    std::vector<size_t> figures;
    for (size_t i = begin; i < end && i < m_samples.size(); ++i)
        figures.push_back(m_samples[i].*figure);
    if (figures.empty())
        return 0;
    std::nth_element(figures.begin(), figures.begin() + static_cast<long>(figures.size() / 2), figures.end());
    return figures[figures.size() / 2];
}
