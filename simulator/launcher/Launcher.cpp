#include "Launcher.h"

#include "../Clock.h"
#include "AnsweringLibrary.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace obrisim {

static SIdentity identityOf(const SOptions& options, int number, int nodesHigher)
{
    return {number, options.videoNode + nodesHigher, options.metadataNode + nodesHigher};
}

[[noreturn]] static void fail(const std::string& what)
{
    const int error = errno;
    throw std::runtime_error(what + ": " + strerror(error));
}

// Signals that end programs or are told to them; the child gets its copy of each.
static sigset_t passedOn()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2, SIGCHLD})
        sigaddset(&signals, signal);
    return signals;
}

Launcher::Launcher(const SOptions& options, std::vector<std::string> arguments)
    : m_options(options), m_arguments(std::move(arguments))
{
    holdSignals();
    m_sweeper = std::make_unique<Sweeper>();
    m_bus = std::make_unique<MockedBus>();
    m_sweeper->add(m_bus->folder());
    openControl();
    plugCameras();
}

Launcher::~Launcher()
{
    if (m_control >= 0)
        close(m_control);
    if (m_signals >= 0)
        close(m_signals);
}

// The program's side says through this pipe that the cable has been pulled.
void Launcher::openControl()
{
    const char* temporary = getenv("TMPDIR");
    std::string folder = std::string(temporary ? temporary : "/tmp") + "/obri-simcam.XXXXXX";
    if (!mkdtemp(folder.data()))
        fail(folder);
    m_sweeper->add(folder);
    m_controlPath = folder + "/control";
    if (mkfifo(m_controlPath.c_str(), 0600) != 0)
        fail(m_controlPath);
    m_control = open(m_controlPath.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC); // open for both: never an end of file
    if (m_control < 0)
        fail(m_controlPath);
}

void Launcher::plugCameras()
{
    if (m_options.noCamera)
        return;
    m_bus->plug(m_options, identityOf(m_options, 0, 0));
    if (m_options.twoCameras)
        m_bus->plug(m_options, identityOf(m_options, 1, 2));
}

// In the child, which has one thread: umockdev's threads, beside this one since the bus is there, read the environment,
// and a variable more can move it from under them.
void Launcher::setEnvironment(const SOrigin& origin, const std::string& library) const
{
    setenv(sControlVariable, m_controlPath.c_str(), 1);
    setenv(sArgumentsVariable, joinArguments(m_arguments).c_str(), 1);
    setenv(sOriginVariable, formatOrigin(origin).c_str(), 1);
    unsetenv("OBRI_SIMCAM_TRIED");
    const char* others = getenv("LD_PRELOAD");
    setenv("LD_PRELOAD", (library + (others && *others ? std::string(":") + others : "")).c_str(), 1);
}

// Before any thread is started: umockdev's would otherwise take the signals and drop them.
void Launcher::holdSignals()
{
    const sigset_t signals = passedOn();
    sigprocmask(SIG_BLOCK, &signals, &m_signalsBefore);
    m_signals = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_signals < 0)
        fail("signalfd");
}

int Launcher::run(char** program)
{
    const std::string library = answeringLibrary(); // here, where its absence can still be told
    m_child = fork();
    if (m_child < 0)
        fail("fork");
    if (m_child == 0) {
        sigprocmask(SIG_SETMASK, &m_signalsBefore, nullptr);
        prctl(PR_SET_PDEATHSIG, SIGTERM); // no camera without its launcher
        setEnvironment(originNow(m_options), library);
        execvp(program[0], program);
        fprintf(stderr, "obri-simcam: %s: %s\n", program[0], strerror(errno));
        _exit(127);
    }
    return watch();
}

int Launcher::pollTimeout() const
{
    if (m_replugAtNs == 0)
        return -1;
    return static_cast<int>(std::clamp<int64_t>((m_replugAtNs - monotonicNs()) / 1'000'000 + 1, 0, 1000));
}

// A signal from the terminal reaches the child by itself; one sent to this process alone is passed on.
static void passOn(int descriptor, pid_t child)
{
    signalfd_siginfo info;
    while (read(descriptor, &info, sizeof info) == static_cast<ssize_t>(sizeof info))
        if (info.ssi_signo != SIGCHLD && info.ssi_code != SI_KERNEL)
            kill(child, static_cast<int>(info.ssi_signo));
}

int Launcher::watch()
{
    for (;;) {
        pollfd waiting[] = {{m_signals, POLLIN, 0}, {m_control, POLLIN, 0}};
        poll(waiting, 2, pollTimeout());
        passOn(m_signals, m_child);
        readControl();
        replugWhenDue();
        int status = 0;
        if (waitpid(m_child, &status, WNOHANG) == m_child)
            return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
}

void Launcher::readControl()
{
    char text[256];
    const ssize_t length = read(m_control, text, sizeof text - 1);
    if (length <= 0)
        return;
    text[length] = '\0';
    int number = 0;
    for (const char* line = text; (line = strstr(line, "unplugged ")); ++line)
        if (sscanf(line, "unplugged %d", &number) == 1)
            m_bus->unplug(identityOf(m_options, number, number ? 2 : 0));
    if (m_options.replugS > 0)
        m_replugAtNs = monotonicNs() + static_cast<int64_t>(m_options.replugS * 1e9);
}

void Launcher::replugWhenDue()
{
    if (m_replugAtNs == 0 || monotonicNs() < m_replugAtNs)
        return;
    m_replugAtNs = 0;
    m_bus->plug(m_options, identityOf(m_options, 0, 4));
}

} // namespace obrisim
