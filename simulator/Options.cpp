#include "Options.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <functional>
#include <stdexcept>

namespace obrisim {

namespace {

[[noreturn]] void refuse(const std::string& why)
{
    throw std::invalid_argument(why);
}

/// The value of one option, taken apart at its commas.
class Value {
public:
    Value(std::string option, const std::string& text) : m_option(std::move(option)), m_text(text)
    {
        for (size_t from = 0; from <= text.size();) {
            const size_t comma = std::min(text.find(',', from), text.size());
            m_parts.push_back(text.substr(from, comma - from));
            from = comma + 1;
        }
    }

    const std::string& text() const
    {
        if (m_text.empty())
            wrong();
        return m_text;
    }

    bool has(size_t part) const { return part < m_parts.size(); }

    template <class T>
    T number(size_t part, T lowest, T highest) const
    {
        const std::string& text = m_parts.at(part);
        T value{};
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc() || end != text.data() + text.size() || !(value >= lowest && value <= highest))
            wrong();
        return value;
    }

    int64_t count(size_t part) const { return has(part) ? number<int64_t>(part, 0, 1'000'000'000'000) : 0; }
    double seconds(size_t part) const { return number<double>(part, 0.0, 1e9); }
    int64_t nanoseconds(size_t part) const { return static_cast<int64_t>(seconds(part) * 1e9 + 0.5); }
    int error(size_t part) const;

    void atMost(size_t parts) const
    {
        if (m_parts.size() > parts)
            wrong();
    }

    [[noreturn]] void wrong() const { refuse("wrong value for " + m_option + ": \"" + m_text + "\""); }

private:
    std::string m_option, m_text;
    std::vector<std::string> m_parts;
};

struct SErrorName {
    const char* name;
    int error;
};
constexpr SErrorName sErrors[] = {
    {"EIO", EIO},       {"EBUSY", EBUSY},   {"EINVAL", EINVAL}, {"ENODEV", ENODEV},       {"EAGAIN", EAGAIN},
    {"EPIPE", EPIPE},   {"EILSEQ", EILSEQ}, {"ERANGE", ERANGE}, {"EREMOTE", EREMOTE},     {"ENOMEM", ENOMEM},
    {"EACCES", EACCES}, {"ENOENT", ENOENT}, {"ENOSPC", ENOSPC}, {"ETIMEDOUT", ETIMEDOUT}, {"EPROTO", EPROTO},
};

int Value::error(size_t part) const
{
    const auto found = std::ranges::find(sErrors, m_parts.at(part), &SErrorName::name);
    return found != std::end(sErrors) ? found->error : number<int>(part, 1, 133);
}

/// ERRNO[,AFTER[,COUNT]]
SFault failing(const Value& value)
{
    value.atMost(3);
    return {true, value.error(0), value.count(1), value.count(2)};
}

/// AFTER[,COUNT]
SFault frames(const Value& value)
{
    value.atMost(2);
    return {true, 0, value.count(0), value.count(1)};
}

SOccultation occultation(const Value& value, double depth)
{
    value.atMost(3);
    if (!value.has(1))
        value.wrong();
    return {value.nanoseconds(0), value.nanoseconds(1), value.has(2) ? value.nanoseconds(2) : 0, depth};
}

void gpsLost(SGpsSchedule& gps, const Value& value)
{
    value.atMost(2);
    if (!value.has(1))
        value.wrong();
    gps.lostFromNs = value.nanoseconds(0);
    gps.lostForNs = value.nanoseconds(1);
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
        value.wrong();
    options.paceByBuffers = value.text() == "buffers";
}

struct SOption {
    const char* name;
    const char* value; ///< what stands for its value in the help; null: none
    const char* help;
    void (*set)(SOptions&, const Value&);
};

/// A line of the help without an option: the heading of a group.
constexpr SOption heading(const char* text)
{
    return {nullptr, nullptr, text, nullptr};
}

#define SET [](SOptions & o, [[maybe_unused]] const Value& v)
constexpr SOption sOptions[] = {heading("The device"), {"--name", "TEXT", "card name", SET{o.name = v.text();
} // namespace
} // namespace obrisim
, {"--video-node", "N", "capture node /dev/videoN (0)", SET{o.videoNode = v.number<int>(0, 0, 60);
}
}
, {"--metadata-node", "N", "metadata node /dev/videoN (1)", SET{o.metadataNode = v.number<int>(0, 0, 60);
}
}
, {"--two-cameras", nullptr, "a second camera on nodes 2 higher", SET{o.twoCameras = true;
}
}
, heading("The scene"), {"--scene", "FILE.fits", "a 16-bit picture as the sky", SET{o.scene = v.text();
}
}
, {"--seed", "N", "another sky, other noise (1)", SET{o.seed = v.number<uint64_t>(0, 0, UINT64_MAX);
}
}
, {"--occult", "START,FOR[,PERIOD]", "hide the target star; seconds since the camera's start",
   SET{o.occultation = occultation(v, o.occultation.depth);
}
}
, {"--depth", "PART", "part of the target's light that goes, 0 to 1 (1)",
   SET{o.occultation.depth = v.number<double>(0, 0.0, 1.0);
}
}
, {"--gps-fix-after", "S", "seconds until the GPS fix (2)", SET{o.gps.fixAfterNs = v.nanoseconds(0);
}
}
, {"--gps-lose", "START,FOR", "lose the fix, then find it again; seconds", SET{gpsLost(o.gps, v);
}
}
, heading("Time"),
    {"--pace", "time|buffers", "frames by the clock, or as fast as buffers are queued (time)", SET{pace(o, v);
}
}
, {"--fps", "N", "read out N frames a second at any size, up to 1000", SET{o.maxFps = v.number<double>(0, 0.01, 1000.0);
}
}
, {"--start-time", "S", "UTC at the camera's start, seconds since 1970 (the computer's clock)",
   SET{o.startTimeNs = v.nanoseconds(0);
}
}
, heading("Written down"),
    {"--command-log", "FILE", "a line for each extension-unit command", SET{o.commandLog = v.text();
}
}
, {"--frame-log", "FILE", "a line for each frame, with a hash of its pixels", SET{o.frameLog = v.text();
}
}
, {"--keep-frames", "DIR", "the decoded pixels of each frame sent, little-endian", SET{o.keepFrames = v.text();
}
}
, heading("Faults: the device (ERRNO by name or number; fails after AFTER good ones, COUNT times, 0: for good)"),
    {"--no-camera", nullptr, "nothing on the bus", SET{o.noCamera = true;
}
}
, {"--no-permission", nullptr, "open: EACCES", SET{o.noPermission = true;
}
}
, {"--xu-error", "ERRNO[,AFTER[,COUNT]]", "extension-unit commands", SET{o.xuError = failing(v);
}
}
, {"--format-error", "ERRNO[,AFTER[,COUNT]]", "VIDIOC_S_FMT", SET{o.formatError = failing(v);
}
}
, {"--map-error", "ERRNO[,AFTER[,COUNT]]", "mmap of a buffer", SET{o.mapError = failing(v);
}
}
, {"--qbuf-error", "ERRNO[,AFTER[,COUNT]]", "VIDIOC_QBUF", SET{o.queueError = failing(v);
}
}
, {"--dqbuf-error", "ERRNO[,AFTER[,COUNT]]", "VIDIOC_DQBUF", SET{o.dequeueError = failing(v);
}
}
, {"--streamon-error", "ERRNO[,AFTER[,COUNT]]", "VIDIOC_STREAMON", SET{o.streamOnError = failing(v);
}
}
, {"--streamoff-error", "ERRNO[,AFTER[,COUNT]]", "VIDIOC_STREAMOFF", SET{o.streamOffError = failing(v);
}
}
, {"--grant-buffers", "N", "VIDIOC_REQBUFS gives no more than N", SET{o.grantBuffers = v.number<int>(0, 1, 32);
}
}
, heading("Faults: the stream (counted in frames of each stream)"),
    {"--stall", "AFTER[,COUNT]", "that many frame periods without a frame", SET{o.stall = frames(v);
}
}
, {"--dead", "AFTER[,COUNT]",
   "all buffers come back empty, then nothing until started again;\n"
   "COUNT streams end so (0: all)",
   SET{o.dead = frames(v);
}
}
, heading("Faults: the frames (counted since the camera's start)"),
    {"--unplug-after", "AFTER", "the cable is pulled after so many frames", SET{o.unplug = frames(v);
}
}
, {"--unplug-at", "S", "the cable is pulled so many seconds after the first stream began",
   SET{o.unplugAtS = v.seconds(0);
}
}
, {"--replug", "S", "it is plugged in again S seconds later, on nodes 4 higher", SET{o.replugS = v.seconds(0);
}
}
, {"--lose-frames", "AFTER[,COUNT]", "never sent; the frame counter moves on", SET{o.lose = frames(v);
}
}
, {"--short-frame", "AFTER[,COUNT]", "half a frame, without an error flag", SET{o.shortFrame = frames(v);
}
}
, {"--bad-preamble", "AFTER[,COUNT]", "overlay without its preamble", SET{o.badPreamble = frames(v);
}
}
, {"--bad-checksum", "AFTER[,COUNT]", "overlay with a wrong checksum", SET{o.badChecksum = frames(v);
}
}
, {"--year", "YEAR[,AFTER[,COUNT]]", "time stamps of another year, 2000 to 2255", SET{wrongYear(o, v);
}
}
, heading("Other"),
    {"--print-scene", nullptr, "print where the target and the stars are, and end", SET{o.printScene = true;
}
}
, {"--help", nullptr, "print this table, and end", SET{o.help = true;
}
}
,
}
;
#undef SET

const SOption& optionNamed(const std::string& name)
{
    const auto found = std::ranges::find_if(sOptions, [&](const SOption& o) { return o.name && name == o.name; });
    if (found == std::end(sOptions))
        refuse("unknown option " + name);
    return *found;
}

void check(const SOptions& options)
{
    if (options.videoNode == options.metadataNode)
        refuse("the capture node and the metadata node cannot be the same");
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
            refuse(name + " takes no value");
        if (option.value && !attached && i + 1 == arguments.size())
            refuse(name + " needs a value: " + option.value);
        const std::string text = !option.value ? "" : attached ? arguments[i].substr(equals + 1) : arguments[++i];
        option.set(options, Value(name, text));
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
