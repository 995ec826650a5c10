#include "AdvRewrite.h"

#include "AdvCopy.h"
#include "Progress.h"

namespace obriadv {

namespace {

/// Copies every whole record, one behind the other.
std::string copyRecords(const AdvFile& input, NewFile& out, std::vector<SAdvFrame>& frames)
{
    Progress progress("repairing", input.frames().size());
    for (const SAdvFrame& frame : input.frames()) {
        frames.push_back(frame);
        frames.back().offset = out.position();
        if (!copyBytes(input.source(), frame.offset, frame.end() - frame.offset, out))
            return "the recording cannot be read at byte " + std::to_string(frame.offset);
        progress.show(frames.size());
    }
    return {};
}

std::string checkRepaired(const std::string& path, size_t frames)
{
    AdvFile repaired;
    std::string error = repaired.open(path);
    if (error.empty() && (repaired.frames().size() != frames || !repaired.index().isPresent))
        error = "what was written is not whole";
    return error;
}

} // namespace

SRewriteResult repairRecording(const std::string& inputPath, const std::string& outputPath)
{
    AdvFile input;
    std::string error = input.open(inputPath);
    if (!error.empty())
        return {error, false, {}};
    const std::unique_ptr<NewFile> out = NewFile::create(outputPath, error);
    if (!out)
        return {error, true, {}};
    SAdvHeader header = input.header();
    std::vector<SAdvFrame> frames;
    error = writeStart(*out, header);
    if (error.empty())
        error = copyRecords(input, *out, frames);
    if (error.empty())
        writeEnd(*out, header, frames, input.userMetadata());
    if (error.empty() && out->flush(error))
        error = checkRepaired(out->temporaryPath(), frames.size());
    if (!error.empty() || !out->commit(error, true))
        return {error, true, {}};
    uint64_t leftOut = 0;
    for (const SAdvRegion& region : input.regions())
        leftOut += region.kind == EAdvRegion::Unaccounted ? region.length : 0;
    return {{},
            true,
            std::to_string(frames.size()) + " whole frames kept, " + std::to_string(leftOut) +
                " bytes of damaged or incomplete records left out"};
}

} // namespace obriadv
