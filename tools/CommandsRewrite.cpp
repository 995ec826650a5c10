#include "CommandLine.h"

#include "AdvRewrite.h"

#include <ostream>

namespace obriadv {

namespace {

int rewrite(SRewriteResult (*work)(const std::string&, const std::string&), const SArguments& arguments,
            std::ostream& out, std::ostream& err)
{
    const SRewriteResult result = work(arguments.files[0], arguments.files[1]);
    if (!result.error.empty()) {
        err << "obri-adv: " << arguments.files[0] << ": " << result.error << "\n";
        return result.isRecording ? sStatusFailed : sStatusNotSuch;
    }
    out << arguments.files[1] << ": " << result.summary << "\n";
    return sStatusOk;
}

} // namespace

int runCompress(const SArguments& arguments, std::ostream& out, std::ostream& err)
{
    return rewrite(compressRecording, arguments, out, err);
}

int runDecompress(const SArguments& arguments, std::ostream& out, std::ostream& err)
{
    return rewrite(decompressRecording, arguments, out, err);
}

int runRepair(const SArguments& arguments, std::ostream& out, std::ostream& err)
{
    return rewrite(repairRecording, arguments, out, err);
}

} // namespace obriadv
