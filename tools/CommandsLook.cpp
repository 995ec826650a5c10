#include "CommandLine.h"

#include "AdvInfo.h"
#include "AdvVerify.h"
#include "FitsFolder.h"

#include <filesystem>
#include <ostream>

namespace obriadv {

int runInfo(const SArguments& arguments, std::ostream& out, std::ostream& err)
{
    const std::string& path = arguments.files[0];
    AdvFile file;
    if (const std::string error = file.open(path); !error.empty()) {
        err << "obri-adv: " << path << ": " << error << "\n";
        return sStatusNotSuch;
    }
    out << (arguments.has("json") ? infoJson(file, path) : infoText(file, path));
    return sStatusOk;
}

int runVerify(const SArguments& arguments, std::ostream& out, std::ostream&)
{
    const std::string& path = arguments.files[0];
    std::error_code error;
    const bool isFolder = std::filesystem::is_directory(path, error);
    const SVerifyReport report = isFolder ? verifyFitsFolder(path) : verifyRecording(path);
    out << report.text();
    return report.exitStatus();
}

} // namespace obriadv
