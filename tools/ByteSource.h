#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace obriadv {

/// Bytes that can be read at any position; a file of any size is never held in memory as a whole.
class ByteSource {
public:
    virtual ~ByteSource() = default;

    /// Total number of bytes; fixed when the source was opened.
    virtual uint64_t size() const = 0;

    /// Reads length bytes from offset on. False when not all of them are there or the read fails. Any thread.
    virtual bool read(uint64_t offset, void* to, size_t length) const = 0;
};

/// A regular file, read in place with pread.
class FileSource : public ByteSource {
public:
    /// Opens a file for reading; null with a reason in error when that fails or it is no regular file.
    static std::unique_ptr<FileSource> open(const std::string& path, std::string& error);
    ~FileSource() override;
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    uint64_t size() const override { return m_size; }
    bool read(uint64_t offset, void* to, size_t length) const override;

private:
    FileSource(int descriptor, uint64_t size) : m_descriptor(descriptor), m_size(size) {}

    int m_descriptor;
    uint64_t m_size;
};

/// Bytes in memory, for tests and for data that never were a file.
class MemorySource : public ByteSource {
public:
    explicit MemorySource(std::vector<uint8_t> bytes) : m_bytes(std::move(bytes)) {}

    uint64_t size() const override { return m_bytes.size(); }
    bool read(uint64_t offset, void* to, size_t length) const override;

private:
    std::vector<uint8_t> m_bytes;
};

} // namespace obriadv
