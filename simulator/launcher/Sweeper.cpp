#include "Sweeper.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace obrisim {

[[noreturn]] static void sweepAtTheEndOf(int list)
{
    setsid(); // what kills the launcher together with its program must not reach this
    FILE* folders = fdopen(list, "r");
    std::string all;
    for (int c = getc(folders); c != EOF; c = getc(folders))
        all += static_cast<char>(c);
    std::error_code ignored; // most are gone already
    for (size_t from = 0, end = 0; (end = all.find('\n', from)) != std::string::npos; from = end + 1)
        std::filesystem::remove_all(all.substr(from, end - from), ignored);
    _exit(0);
}

Sweeper::Sweeper()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0 || (m_process = fork()) < 0)
        throw std::runtime_error(std::string("cannot watch over temporary folders: ") + strerror(errno));
    if (m_process == 0) {
        close(ends[1]);
        sweepAtTheEndOf(ends[0]);
    }
    close(ends[0]);
    m_list = ends[1];
}

Sweeper::~Sweeper()
{
    close(m_list);
    waitpid(m_process, nullptr, 0);
}

void Sweeper::add(const std::string& folder) const
{
    dprintf(m_list, "%s\n", folder.c_str());
}

} // namespace obrisim
