#include "CommandLine.h"

#include "FitsExport.h"
#include "NumberText.h"

#include <ostream>

namespace obriadv {

namespace {

/// Opens the recording, has it worked on, and tells how that ended.
template <class Work>
int withRecording(const std::string& path, std::ostream& err, Work work)
{
    AdvFile file;
    std::string error = file.open(path);
    const bool isOpen = error.empty();
    if (isOpen)
        error = work(file);
    if (!error.empty())
        err << "obri-adv: " << path << ": " << error << "\n";
    return error.empty() ? sStatusOk : isOpen ? sStatusFailed : sStatusNotSuch;
}

} // namespace

int runFrame(const SArguments& arguments, std::ostream&, std::ostream& err)
{
    size_t n = 0;
    if (!parseInteger(arguments.files[1], n)) {
        err << "obri-adv: \"" << arguments.files[1] << "\" is no frame number\n";
        return sStatusNotSuch;
    }
    return withRecording(arguments.files[0], err,
                         [&](AdvFile& file) { return exportFrame(file, n, arguments.files[2]); });
}

int runExport(const SArguments& arguments, std::ostream& out, std::ostream& err)
{
    return withRecording(arguments.files[0], err, [&](AdvFile& file) {
        std::string error = exportAll(file, arguments.files[0], arguments.files[1]);
        if (error.empty())
            out << file.frames().size() << " frames exported to " << arguments.files[1] << "\n";
        return error;
    });
}

} // namespace obriadv
