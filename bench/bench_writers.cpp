// What a recorded frame costs the streaming thread, in processor time: an ADV record beside one fwrite of the same
// bytes, a FITS file beside a bare open, write, close of the same bytes and beside cfitsio. Each takes turns with its
// yardstick on fresh files, so that a busy machine slows both: read the ratio, not the time.

#include "AdvWriter.h"
#include "DateTime.h"
#include "FitsSequenceWriter.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fitsio.h>
#include <fstream>
#include <functional>
#include <iterator>
#include <linux/fs.h>
#include <memory>
#include <random>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {
constexpr int sFramesPerRound = 32; // then the files are emptied, before the disk has to take them all

class Provider : public libobrifile::IFileWriterAttributesProvider {
public:
    virtual ~Provider() = default;
    void GetHeaderAttributes(std::map<std::string, std::string>& attribs) override
    {
        for (const char* key : {"OBSERVER", "TELESCOP", "INSTRUME", "OBJECT", "RECORDER-SOFTWARE", "AUTHOR"})
            attribs[key] = "a name of some length";
    }
    void GetFrameAttributes(std::map<std::string, std::string>& attribs) override
    {
        attribs["LATITUDE"] = "47.1234567";
        attribs["LONGITUDE"] = "8.1234567";
        attribs["ALTITUDE"] = "432.1";
        attribs["CCD-TEMP"] = "21.0";
        attribs["DATE-OBS"] = "2024-03-05T06:07:08.009";
        attribs["EXPTIME"] = "0.076923000";
    }
    uint32_t GetCameraFrameId() override { return 1; }
    uint8_t GetGpsNofSatellites() override { return 9; }
    uint8_t GetGpsFixState() override { return 3; }
    uint16_t GetGpsDilusionOfPrecisionGptvh(int) override { return 123; }
    uint32_t GetGpsDilusionOfPrecisionTime() override { return 1; }
    int IsTimeValid() override { return 1; }
    uint16_t GetSensorTemperature() override { return 0x1501; }
    void GetDateTimeFrom(libobribase::DateTime* dt) override { *dt = {2024, 3, 5, 6, 7, 8, 9}; }
    void GetDateTimeTo(libobribase::DateTime* dt) override { *dt = {2024, 3, 5, 6, 7, 8, 86}; }
};

std::string makeDirectory(std::filesystem::path parent)
{
    std::string path = (parent / "obri-bench-XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr)
        abort();
    return path;
}

// Where ext4 has deleted files within the last minutes, it looks at each of them again before it gives out a new inode:
// creating a file then takes ten times as long, and three programs that do so seem equally fast. So the files are
// written to a part of the disk that is not in use, which the flag asks for, and none is deleted before the end.
class Directory {
public:
    Directory() : m_parent(makeDirectory(std::filesystem::temp_directory_path()))
    {
        const int parent = open(m_parent.c_str(), O_RDONLY | O_DIRECTORY);
        int flags = 0;
        if (ioctl(parent, FS_IOC_GETFLAGS, &flags) == 0) {
            flags |= FS_TOPDIR_FL;
            ioctl(parent, FS_IOC_SETFLAGS, &flags);
        }
        close(parent);
        m_path = makeDirectory(m_parent);
    }
    ~Directory() { std::filesystem::remove_all(m_parent); }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_parent, m_path;
};

// Sky, read noise and a 12-bit sample in the upper bits.
std::vector<uint16_t> skyOf(size_t pixels)
{
    std::mt19937 random(1624);
    std::normal_distribution<double> sky(200, 12);
    std::vector<uint16_t> image(pixels);
    for (auto& pixel : image)
        pixel = static_cast<uint16_t>(static_cast<int>(sky(random)) << 4);
    return image;
}

template <class Work>
double cpuSeconds(Work work)
{
    timespec begin, end;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &begin);
    work();
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &end);
    return static_cast<double>(end.tv_sec - begin.tv_sec) + 1e-9 * static_cast<double>(end.tv_nsec - begin.tv_nsec);
}

// Leaves out the files for which the system has put off other work.
double median(std::vector<double>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::vector<char> contentOf(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void writeRaw(const std::string& path, const std::vector<char>& bytes)
{
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        abort();
    close(file);
}

void writeWithCfitsio(const std::string& path, std::vector<uint16_t>& image, long width, long height)
{
    fitsfile* file = nullptr;
    long sizes[] = {width, height};
    int status = 0;
    fits_create_file(&file, path.c_str(), &status);
    fits_create_img(file, USHORT_IMG, 2, sizes, &status);
    for (const char* key : {"OBJECT", "TELESCOP", "INSTRUME", "OBSERVER", "DATE-OBS", "EXPTIME"})
        fits_write_key_str(file, key, "a name of some length", nullptr, &status);
    fits_write_img(file, TUSHORT, 1, static_cast<LONGLONG>(image.size()), image.data(), &status);
    fits_close_file(file, &status);
    if (status != 0)
        abort();
}

void AdvRecord(benchmark::State& state)
{
    const auto width = static_cast<uint32_t>(state.range(0)), height = static_cast<uint32_t>(state.range(1));
    const Directory directory;
    Provider provider;
    std::vector<uint16_t> image = skyOf(size_t{width} * height);
    const std::vector<char> record(image.size() * 2 + 27 + 4 + 69, 'r');
    std::unique_ptr<libobrifile::AdvWriter> writer;
    std::unique_ptr<FILE, int (*)(FILE*)> raw(nullptr, fclose);
    double own = 0, yardstick = 0;
    int left = 0;
    for (auto _ : state) {
        if (left-- == 0) {
            writer = std::make_unique<libobrifile::AdvWriter>(&provider);
            writer->CreateAdvFile(directory / "own.adv", width, height, 16, {}, 0);
            writer->StartRecording();
            raw.reset(fopen((directory / "raw").c_str(), "wb"));
            left = sFramesPerRound - 1;
        }
        const double t =
            cpuSeconds([&] { writer->RecordFrame(reinterpret_cast<uint8_t*>(image.data()), image.size() * 2, 0); });
        yardstick += cpuSeconds([&] { fwrite(record.data(), 1, record.size(), raw.get()); });
        own += t;
        state.SetIterationTime(t);
    }
    if (writer->HasFailed())
        state.SkipWithError(writer->GetFailureText().c_str());
    state.counters["x_fwrite"] = own / yardstick;
}

void FitsFile(benchmark::State& state)
{
    const auto width = static_cast<unsigned>(state.range(0)), height = static_cast<unsigned>(state.range(1));
    const Directory directory;
    Provider provider;
    std::vector<uint16_t> image = skyOf(size_t{width} * height);
    libobrifile::FitsSequenceWriter writer(&provider);
    const std::string pathTemplate = directory / "own_[FRAMENR]";
    writer.CreateFitsSequence(pathTemplate, width, height, 16);
    writer.StartRecording();
    const auto record = [&] { writer.RecordFrame(reinterpret_cast<uint8_t*>(image.data()), image.size() * 2, 0); };
    record();
    const std::vector<char> bytes = contentOf(directory / "own_00001");
    enum { Own, Raw, Cfitsio, Writers };
    std::array<std::vector<double>, Writers> all;
    std::vector<std::string> written;
    written.reserve(Writers * (sFramesPerRound + 1)); // so that references stay
    for (auto _ : state) {
        const uint32_t n = writer.GetFrameNr();
        if (n % sFramesPerRound == 0) {
            for (const std::string& path : written)
                std::filesystem::resize_file(path, 0);
            written.clear();
        }
        written.push_back(libobrifile::FitsSequenceWriter::FramePath(pathTemplate, n + 1));
        const std::string& raw = written.emplace_back(directory / ("raw_" + std::to_string(n)));
        const std::string& rival = written.emplace_back(directory / ("rival_" + std::to_string(n)));
        const std::function<void()> works[] = {record, [&] { writeRaw(raw, bytes); },
                                               [&] { writeWithCfitsio(rival, image, width, height); }};
        // In another order every time: who comes second finds the file system's code in the processor's caches.
        std::array<double, Writers> taken{};
        for (uint32_t i = 0; i < Writers; ++i)
            taken[(n + i) % Writers] = cpuSeconds(works[(n + i) % Writers]);
        for (size_t i = 0; i < Writers; ++i)
            all[i].push_back(taken[i]);
        state.SetIterationTime(taken[Own]);
    }
    const double own = median(all[Own]);
    state.counters["x_open_write_close"] = own / median(all[Raw]);
    state.counters["x_cfitsio"] = own / median(all[Cfitsio]);
}
} // namespace

BENCHMARK(AdvRecord)->UseManualTime()->Unit(benchmark::kMicrosecond)->Args({1624, 1240})->Args({176, 128});
BENCHMARK(FitsFile)->UseManualTime()->Unit(benchmark::kMicrosecond)->Args({1624, 1240})->Args({176, 128});
