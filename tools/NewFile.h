#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace obriadv {

/// A file that appears under its name only when it is complete, and never in the place of another.
///
/// The bytes go to "NAME.part" beside it; without commit() that is removed again.
class NewFile {
public:
    /// Null with a reason in error when path exists already or nothing can be written there.
    static std::unique_ptr<NewFile> create(const std::string& path, std::string& error);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Appends. A failure is kept and told by flush() or commit(); what follows it is not written.
    void write(const void* bytes, size_t length);
    uint64_t position() const { return m_written + m_buffer.size(); }

    /// Overwrites bytes that were written before.
    void patch(uint64_t offset, const void* bytes, size_t length);

    /// Brings everything into the file under its temporary name, so that it can be read back. False on failure.
    bool flush(std::string& error);
    const std::string& temporaryPath() const { return m_temporary; }

    /// Gives the file its name. False when anything failed since its creation.
    /// @param isDurable  wait until the bytes are on the disk: an archive may be deleted for this copy.
    bool commit(std::string& error, bool isDurable);

private:
    NewFile(std::string path, std::string temporary, int descriptor);
    void writeThrough(uint64_t offset, const uint8_t* bytes, size_t length);

    std::string m_path, m_temporary;
    int m_descriptor;
    bool m_isCommitted = false;
    int m_error = 0; // errno of the first failure
    uint64_t m_written = 0;
    std::vector<uint8_t> m_buffer;
};

} // namespace obriadv
