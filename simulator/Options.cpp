#include "Options.h"

#include "OptionValue.h"

#include <algorithm>
#include <stdexcept>
#include <variant>

namespace obrisim {

namespace {

using Value = OptionValue;

void seed(SOptions& options, const Value& value)
{
    value.atMost(1);
    options.seed = value.number<uint64_t>(0, 0, UINT64_MAX);
}

void depth(SOptions& options, const Value& value)
{
    value.atMost(1);
    options.occultation.depth = value.number<double>(0, 0.0, 1.0);
}

void gpsFixAfter(SOptions& options, const Value& value)
{
    value.atMost(1);
    options.gps.fixAfterNs = value.nanoseconds(0);
}

void framesPerSecond(SOptions& options, const Value& value)
{
    value.atMost(1);
    options.maxFps = value.number<double>(0, 0.01, 1000.0);
}

void startTime(SOptions& options, const Value& value)
{
    value.atMost(1);
    options.startTimeNs = value.nanoseconds(0);
}

void occult(SOptions& options, const Value& value)
{
    value.atMost(3);
    if (!value.has(1))
        value.refuse();
    options.occultation.startNs = value.nanoseconds(0);
    options.occultation.durationNs = value.nanoseconds(1);
    options.occultation.periodNs = value.has(2) ? value.nanoseconds(2) : 0;
}

void loseGps(SOptions& options, const Value& value)
{
    value.atMost(2);
    if (!value.has(1))
        value.refuse();
    options.gps.lostFromNs = value.nanoseconds(0);
    options.gps.lostForNs = value.nanoseconds(1);
}

void wrongYear(SOptions& options, const Value& value)
{
    value.atMost(3);
    options.year = value.number<int>(0, 2000, 2255);
    options.badYear = {true, 0, value.count(1), value.count(2)};
}

void pace(SOptions& options, const Value& value)
{
    if (value.text() != "time" && value.text() != "buffers")
        value.refuse();
    options.paceByBuffers = value.text() == "buffers";
}

/// A fault of requests, "ERRNO[,AFTER[,COUNT]]", or of frames, "AFTER[,COUNT]".
struct SRequestFault {
    SFault SOptions::*fault;
};
struct SFrameFault {
    SFault SOptions::*fault;
};
/// A whole number within bounds.
struct SInteger {
    int SOptions::*number;
    int lowest, highest;
};
/// Seconds.
struct SSeconds {
    double SOptions::*seconds;
};
using Function = void (*)(SOptions&, const Value&);
/// What an option sets, and with it how its value is read.
using Target =
    std::variant<bool SOptions::*, std::string SOptions::*, SInteger, SSeconds, SRequestFault, SFrameFault, Function>;

struct SOption {
    const char* name;  ///< null: a heading in the help
    const char* value; ///< what stands for its value in the help; null: none
    const char* help;
    Target target;
};

constexpr const char* sRequestFault = "ERRNO[,AFTER[,COUNT]]";
constexpr const char* sFrameFault = "AFTER[,COUNT]";

constexpr SOption heading(const char* text)
{
    return {nullptr, nullptr, text, Function{}};
}

// clang-format off
constexpr SOption sOptions[] = {
    heading("The device"),
    {"--name", "TEXT", "card name", &SOptions::name},
    {"--video-node", "N", "capture node /dev/videoN (0)", SInteger{&SOptions::videoNode, 0, 60}},
    {"--metadata-node", "N", "metadata node /dev/videoN (1)", SInteger{&SOptions::metadataNode, 0, 60}},
    {"--two-cameras", nullptr, "a second camera on nodes 2 higher", &SOptions::twoCameras},
    {"--exposure", "MS", "exposure when switched on (40)", SInteger{&SOptions::exposureMs, 1, 65535}},
    heading("The scene"),
    {"--scene", "FILE.fits", "a 16-bit picture as the sky", &SOptions::scene},
    {"--seed", "N", "another sky, other noise (1)", seed},
    {"--occult", "START,FOR[,PERIOD]", "hide the target star; seconds since the camera's start", occult},
    {"--depth", "PART", "part of the target's light that goes, 0 to 1 (1)", depth},
    {"--gps-fix-after", "S", "seconds until the GPS fix (2)", gpsFixAfter},
    {"--gps-lose", "START,FOR", "lose the fix, then find it again; seconds", loseGps},
    heading("Time"),
    {"--pace", "time|buffers", "frames by the clock, or as fast as buffers are queued (time)", pace},
    {"--fps", "N", "read out N frames a second at any size, up to 1000", framesPerSecond},
    {"--start-time", "S", "UTC at the camera's start, seconds since 1970 (the computer's clock)", startTime},
    heading("Written down"),
    {"--command-log", "FILE", "a line for each extension-unit command", &SOptions::commandLog},
    {"--frame-log", "FILE", "a line for each frame, with a hash of its pixels", &SOptions::frameLog},
    {"--keep-frames", "DIR", "the decoded pixels of each frame sent, little-endian", &SOptions::keepFrames},
    heading("Faults: the device (ERRNO by name or number, after AFTER good ones, COUNT times, 0: for good)"),
    {"--no-camera", nullptr, "nothing on the bus", &SOptions::noCamera},
    {"--no-permission", nullptr, "open: EACCES", &SOptions::noPermission},
    {"--xu-error", sRequestFault, "extension-unit commands", SRequestFault{&SOptions::xuError}},
    {"--format-error", sRequestFault, "VIDIOC_S_FMT", SRequestFault{&SOptions::formatError}},
    {"--map-error", sRequestFault, "mmap of a buffer", SRequestFault{&SOptions::mapError}},
    {"--qbuf-error", sRequestFault, "VIDIOC_QBUF", SRequestFault{&SOptions::queueError}},
    {"--dqbuf-error", sRequestFault, "VIDIOC_DQBUF with a frame ready", SRequestFault{&SOptions::dequeueError}},
    {"--streamon-error", sRequestFault, "VIDIOC_STREAMON", SRequestFault{&SOptions::streamOnError}},
    {"--streamoff-error", sRequestFault, "VIDIOC_STREAMOFF", SRequestFault{&SOptions::streamOffError}},
    {"--grant-buffers", "N", "VIDIOC_REQBUFS gives no more than N", SInteger{&SOptions::grantBuffers, 1, 32}},
    heading("Faults: the stream (counted in frames of each stream)"),
    {"--stall", sFrameFault, "that many frame periods without a frame", SFrameFault{&SOptions::stall}},
    {"--dead", sFrameFault, "all buffers come back empty, then nothing until started again;\n"
                            "COUNT streams end so (0: all)", SFrameFault{&SOptions::dead}},
    heading("Faults: the frames (counted since the camera's start)"),
    {"--unplug-after", "AFTER", "the cable is pulled after so many frames", SFrameFault{&SOptions::unplug}},
    {"--unplug-at", "S", "the cable is pulled so many seconds after the first stream began", SSeconds{&SOptions::unplugAtS}},
    {"--replug", "S", "it is plugged in again S seconds later, on nodes 4 higher", SSeconds{&SOptions::replugS}},
    {"--lose-frames", sFrameFault, "never sent; the frame counter moves on", SFrameFault{&SOptions::lose}},
    {"--short-frame", sFrameFault, "half a frame, without an error flag", SFrameFault{&SOptions::shortFrame}},
    {"--bad-preamble", sFrameFault, "overlay without its preamble", SFrameFault{&SOptions::badPreamble}},
    {"--bad-checksum", sFrameFault, "overlay with a wrong checksum", SFrameFault{&SOptions::badChecksum}},
    {"--year", "YEAR[,AFTER[,COUNT]]", "time stamps of another year, 2000 to 2255", wrongYear},
    heading("Other"),
    {"--print-scene", nullptr, "print where the target and the stars are, and end", &SOptions::printScene},
    {"--help", nullptr, "print this table, and end", &SOptions::help},
};
// clang-format on

/// Reads a value into what its option sets.
struct SReader {
    SOptions& options;
    const Value& value;

    void operator()(bool SOptions::*flag) const { options.*flag = true; }
    void operator()(std::string SOptions::*text) const { options.*text = value.text(); }
    void operator()(SInteger to) const
    {
        value.atMost(1);
        options.*to.number = value.number<int>(0, to.lowest, to.highest);
    }
    void operator()(SSeconds to) const
    {
        value.atMost(1);
        options.*to.seconds = value.seconds(0);
    }
    void operator()(SRequestFault to) const
    {
        value.atMost(3);
        options.*to.fault = {true, value.error(0), value.count(1), value.count(2)};
    }
    void operator()(SFrameFault to) const
    {
        value.atMost(2);
        options.*to.fault = {true, 0, value.count(0), value.count(1)};
    }
    void operator()(Function function) const { function(options, value); }
};

const SOption& optionNamed(const std::string& name)
{
    const auto found = std::ranges::find_if(sOptions, [&](const SOption& o) { return o.name && name == o.name; });
    if (found == std::end(sOptions))
        throw std::invalid_argument("unknown option " + name);
    return *found;
}

void check(const SOptions& options)
{
    if (options.videoNode == options.metadataNode)
        throw std::invalid_argument("the capture node and the metadata node cannot be the same");
}

} // namespace

SOptions parseOptions(const std::vector<std::string>& arguments)
{
    SOptions options;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const size_t equals = arguments[i].find('=');
        const std::string name = arguments[i].substr(0, equals);
        const SOption& option = optionNamed(name);
        const bool attached = equals != std::string::npos;
        if (attached && !option.value)
            throw std::invalid_argument(name + " takes no value");
        if (option.value && !attached && i + 1 == arguments.size())
            throw std::invalid_argument(name + " needs a value: " + option.value);
        const std::string text = !option.value ? "" : attached ? arguments[i].substr(equals + 1) : arguments[++i];
        std::visit(SReader{options, Value(name, text)}, option.target);
    }
    check(options);
    return options;
}

std::string optionHelp()
{
    constexpr size_t column = 42;
    std::string help;
    for (const SOption& option : sOptions) {
        if (!option.name) {
            help += std::string(help.empty() ? "" : "\n") + option.help + "\n";
            continue;
        }
        std::string line = std::string("  ") + option.name + (option.value ? std::string(" ") + option.value : "");
        line.resize(std::max(line.size() + 1, column), ' ');
        for (const char* c = option.help; *c; ++c)
            line += *c == '\n' ? "\n" + std::string(column, ' ') : std::string(1, *c);
        help += line + "\n";
    }
    return help;
}

} // namespace obrisim
