#include "Progress.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace obriadv {

Progress::Progress(std::string what, uint64_t total)
    : m_what(std::move(what)), m_total(total), m_isShown(total > 0 && isatty(STDERR_FILENO) != 0),
      m_last(std::chrono::steady_clock::now())
{
}

Progress::~Progress()
{
    if (m_isDrawn)
        fputs("\r\033[K", stderr);
}

void Progress::show(uint64_t done)
{
    constexpr uint64_t sBarWidth = 40;
    const auto time = std::chrono::steady_clock::now();
    if (!m_isShown || time - m_last < std::chrono::milliseconds(100))
        return;
    m_last = time;
    m_isDrawn = true;
    done = std::min(done, m_total);
    const std::string bar(sBarWidth * done / m_total, '#');
    fprintf(stderr, "\r%s [%-40s] %3u %%", m_what.c_str(), bar.c_str(), static_cast<unsigned>(100 * done / m_total));
    fflush(stderr);
}

} // namespace obriadv
