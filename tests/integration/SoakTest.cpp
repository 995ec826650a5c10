#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <random>
#include <set>
#include <thread>
#include <unistd.h>

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/// A busy machine takes longer for as many as tell something.
constexpr size_t sLeastActions = 60;

/// A number of the environment, which the long forms set.
double setting(const char* name, double otherwise)
{
    const char* text = getenv(name);
    return text ? atof(text) : otherwise;
}

/// Samples what a process holds, to show that nothing of it grows.
class ProcessGauge {
public:
    enum EFigure { ResidentKiB, Descriptors, Threads, Figures };

    explicit ProcessGauge(int processId) : m_process("/proc/" + std::to_string(processId)) {}

    /// Throws when the process is gone.
    void sample()
    {
        using std::filesystem::directory_iterator;
        size_t allPages = 0, residentPages = 0;
        std::ifstream(m_process / "statm") >> allPages >> residentPages;
        m_samples.push_back({residentPages * static_cast<size_t>(sysconf(_SC_PAGESIZE)) / 1024,
                             static_cast<size_t>(std::distance(directory_iterator(m_process / "fd"), {})),
                             static_cast<size_t>(std::distance(directory_iterator(m_process / "task"), {}))});
    }

    /// Median of a figure over the samples from one share of the run to another, 0 to 1.
    size_t median(EFigure figure, double from, double to) const
    {
        const auto count = static_cast<double>(m_samples.size());
        std::vector<size_t> figures;
        for (auto n = static_cast<size_t>(from * count); n < static_cast<size_t>(to * count); ++n)
            figures.push_back(m_samples[n][figure]);
        std::sort(figures.begin(), figures.end());
        return figures.at(figures.size() / 2);
    }

private:
    std::filesystem::path m_process;
    std::vector<std::array<size_t, Figures>> m_samples;
};

/// An observer who cannot decide: does one thing after another at random.
class RestlessObserver {
public:
    RestlessObserver(Program& program, unsigned seed) : m_program(program), m_random(seed) {}

    void act()
    {
        static constexpr std::pair<int, void (RestlessObserver::*)()> sHabits[] = {
            {4, &RestlessObserver::changeList},    {3, &RestlessObserver::changeNumber},
            {3, &RestlessObserver::toggle},        {3, &RestlessObserver::dragHistogram},
            {2, &RestlessObserver::pressPreset},   {4, &RestlessObserver::recordOrStop},
            {1, &RestlessObserver::streamOrStop},  {1, &RestlessObserver::takeSingleFrame},
            {1, &RestlessObserver::doNothingMuch},
        };
        int at = upTo(22);
        for (const auto& [weight, habit] : sHabits)
            if ((at -= weight) < 0)
                return (this->*habit)();
    }

private:
    int upTo(int end) { return static_cast<int>(m_random() % static_cast<unsigned>(end)); }
    const char* oneOf(std::initializer_list<const char*> names)
    {
        return names.begin()[upTo(static_cast<int>(names.size()))];
    }

    void changeList()
    {
        static constexpr std::pair<const char*, int> sRows[] = {{"alt+e", 5}, {"alt+g", 6}, {"alt+l", 4},
                                                                {"alt+o", 3}, {"alt+a", 3}, {"alt+z", 5}};
        const auto& [mnemonic, rows] = sRows[upTo(6)];
        m_program.selectRow(mnemonic, upTo(rows));
    }

    void changeNumber()
    {
        m_program.key(oneOf({"alt+x", "alt+b"}));
        m_program.key("ctrl+a");
        m_program.type(std::to_string(upTo(200)));
    }

    void toggle() { m_program.key(oneOf({"alt+h", "alt+n", "alt+i", "alt+p", "alt+v", "alt+s"})); }

    // Where the window has its histogram: the bounds of a dark sky lie at the left of the plot's lower edge, the mid
    // tone anywhere along its left one.
    void dragHistogram()
    {
        if (upTo(2))
            m_program.drag(645 + upTo(60), 261, upTo(500) - 50, 0);
        else
            m_program.drag(640, 110 + upTo(140), 0, upTo(200) - 100);
    }
    void pressPreset() { m_program.drag(589, 125 + 40 * upTo(4), 0, 0); }

    void recordOrStop()
    {
        if (m_program.isEnabled("stopRecording"))
            m_program.activate("stopRecording");
        else // FITS sequences are many files: one start in eight
            m_program.activate(upTo(8) ? "startRecordingAdv" : "startRecordingFits");
    }

    void streamOrStop()
    {
        m_program.activate(m_program.isEnabled("startStreaming") ? "startStreaming" : "stopStreaming");
    }

    void takeSingleFrame() { m_program.activate(oneOf({"singleFitsLight", "singleFitsDark", "singleFitsFlat"})); }

    void doNothingMuch() { std::this_thread::sleep_for(std::chrono::milliseconds(upTo(1500))); }

    Program& m_program;
    std::mt19937 m_random;
};

/// What may be said of frames that lay in a buffer when the stream was stopped under a recording: nobody could take
/// them out any more.
std::set<std::string> findingsAboutStops(const Program& program)
{
    const std::string start = "# untaken ";
    std::set<std::string> findings;
    for (const std::string& line : linesOf(contentsOf(program.folder() / "frames.txt")))
        if (line.starts_with(start))
            findings.insert("camera frame " + line.substr(start.size()) + " was sent and is missing");
    return findings;
}

/// Holds every recording in the folder against what the camera sent, then deletes it: full frames fill disks.
size_t checkRecordings(const Program& program)
{
    const auto camera = parseFrameLog(program.frameLog());
    const auto excused = findingsAboutStops(program);
    size_t frames = 0;
    for (const auto& path : filesIn(program.folder(), ".adv")) {
        auto findings = differences(path, camera, EPixels::MayBeStamped);
        std::erase_if(findings, [&](const std::string& finding) { return excused.count(finding) != 0; });
        EXPECT_THAT(findings, IsEmpty()) << path;
        frames += framesIn(path);
        std::filesystem::remove(path);
    }
    return frames;
}

void printFigures(const ProcessGauge& gauge, size_t actions, size_t recorded, const Program& program)
{
    const size_t sent = program.framesSent();
    printf("soak: %zu actions, camera sent %zu frames and dropped %zu for want of a buffer, %zu recorded\n", actions,
           sent, program.frameLog().size() - sent, recorded);
    for (const double share : {0.25, 0.5, 0.75, 0.99})
        printf("soak: after %2.0f %%: %zu KiB resident, %zu descriptors, %zu threads\n", share * 100,
               gauge.median(gauge.ResidentKiB, share - 0.1, share), gauge.median(gauge.Descriptors, share - 0.1, share),
               gauge.median(gauge.Threads, share - 0.1, share));
}

} // namespace

// Fails when starting in the first seconds, or any order of an observer's doings crashes the program, spoils a
// recording, loses a frame that the camera sent, or makes it hold more and more memory, descriptors or threads.
TEST(Soak, RandomActionsLoseNothing)
{
    Program program({.simulator = {"--gps-fix-after", "1"}});
    ASSERT_TRUE(program.waitForWindow());
    program.activate("startStreaming"); // while the streaming thread still waits its three seconds
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sFullSize));

    ProcessGauge gauge(program.processId());
    RestlessObserver observer(program, static_cast<unsigned>(setting("OBRI_SOAK_SEED", 704)));
    size_t actions = 0, recorded = 0;
    const auto end = std::chrono::steady_clock::now() + Seconds(setting("OBRI_SOAK_SECONDS", 30));
    while (std::chrono::steady_clock::now() < end || actions < sLeastActions) {
        ASSERT_NO_THROW(observer.act(); gauge.sample()) << program.lastWords();
        if (++actions % 50 == 0) {
            // A recording outlives the stream that is stopped under it, and can be stopped while streaming alone.
            for (const char* action : {"startStreaming", "stopRecording"})
                if (program.isEnabled(action))
                    program.activate(action);
            recorded += checkRecordings(program);
            std::filesystem::remove_all(program.folder() / "fits");
        }
    }
    ASSERT_FALSE(program.hasEnded()) << program.lastWords();
    quit(program);
    recorded += checkRecordings(program);
    printFigures(gauge, actions, recorded, program);
    EXPECT_GT(recorded, 0u);
    EXPECT_THAT(program.standardError(), Not(HasSubstr("Sanitizer")));

    EXPECT_LE(gauge.median(gauge.Descriptors, 0.9, 1), gauge.median(gauge.Descriptors, 0.1, 0.3) + 4);
    EXPECT_LE(gauge.median(gauge.Threads, 0.9, 1), gauge.median(gauge.Threads, 0.1, 0.3) + 3);
    if (!sIsSanitized) {
        // In half a minute, larger frames touch more of the buffers that were there from the start; in minutes, all has
        // been touched, and what is left is room that the C library keeps between frames of different sizes.
        const size_t slackMiB = setting("OBRI_SOAK_SECONDS", 30) < 300 ? 64 : 24;
        EXPECT_LE(gauge.median(gauge.ResidentKiB, 0.9, 1), gauge.median(gauge.ResidentKiB, 0.3, 0.5) + slackMiB * 1024);
    }
}
