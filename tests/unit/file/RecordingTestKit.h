#pragma once

#include "DateTime.h"
#include "IFileWriterAttributesProvider.h"

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/resource.h>

// What the tests of the recording writers share. Independent of the writers' own primitives.

/// Bytes written out one field after the other, integers least significant byte first.
class Bytes : public std::string {
public:
    Bytes& u8(uint64_t v) { return number(v, 1); }
    Bytes& u16(uint64_t v) { return number(v, 2); }
    Bytes& u32(uint64_t v) { return number(v, 4); }
    Bytes& u64(uint64_t v) { return number(v, 8); }
    Bytes& text(const std::string& s)
    {
        u16(s.size());
        append(s);
        return *this;
    }
    Bytes& tag(const std::string& name, const std::string& value) { return text(name).text(value); }
    Bytes& raw(const std::string& s)
    {
        append(s);
        return *this;
    }

private:
    Bytes& number(uint64_t v, int bytes)
    {
        for (int i = 0; i < bytes; ++i)
            push_back(static_cast<char>(v >> (8 * i)));
        return *this;
    }
};

/// Answers with what the test put in.
class FakeProvider : public libobrifile::IFileWriterAttributesProvider {
public:
    virtual ~FakeProvider() = default;

    std::map<std::string, std::string> header, frame;
    uint32_t frameId = 0;
    uint8_t satellites = 0, fixState = 0;
    uint16_t dop[5] = {}, temperature = 0;
    uint32_t dopTime = 0;
    libobribase::DateTime from{2020, 1, 1, 0, 0, 0, 0}, to{2020, 1, 1, 0, 0, 0, 40};

    void GetHeaderAttributes(std::map<std::string, std::string>& attribs) override { merge(attribs, header); }
    void GetFrameAttributes(std::map<std::string, std::string>& attribs) override { merge(attribs, frame); }
    uint32_t GetCameraFrameId() override { return frameId; }
    uint8_t GetGpsNofSatellites() override { return satellites; }
    uint8_t GetGpsFixState() override { return fixState; }
    uint16_t GetGpsDilusionOfPrecisionGptvh(int which) override { return dop[which]; }
    uint32_t GetGpsDilusionOfPrecisionTime() override { return dopTime; }
    int IsTimeValid() override { return 1; }
    uint16_t GetSensorTemperature() override { return temperature; }
    void GetDateTimeFrom(libobribase::DateTime* dt) override { *dt = from; }
    void GetDateTimeTo(libobribase::DateTime* dt) override { *dt = to; }

private:
    static void merge(std::map<std::string, std::string>& into, const std::map<std::string, std::string>& more)
    {
        for (const auto& [key, value] : more)
            into[key] = value;
    }
};

/// A directory of the test's own, removed at the end.
class TemporaryDirectory {
public:
    TemporaryDirectory() : m_path((std::filesystem::temp_directory_path() / "obri-test-XXXXXX").string())
    {
        if (mkdtemp(m_path.data()) == nullptr)
            abort();
    }
    ~TemporaryDirectory() { std::filesystem::remove_all(m_path); }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    const std::string& path() const { return m_path; }
    size_t fileCount() const
    {
        const std::filesystem::directory_iterator files(m_path);
        return static_cast<size_t>(std::distance(begin(files), end(files)));
    }

private:
    std::string m_path;
};

/// Files of this process cannot grow beyond so many bytes, for the length of a scope: a disk that is full.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        m_oldHandler = signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_old);
        const rlimit limit{bytes, m_old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_old);
        signal(SIGXFSZ, m_oldHandler);
    }

private:
    rlimit m_old{};
    void (*m_oldHandler)(int);
};

inline std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}
