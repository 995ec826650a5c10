#pragma once

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace obriadv {

/// What a command was given.
struct SArguments {
    std::vector<std::string> files;             ///< in order
    std::map<std::string, std::string> options; ///< by name without dashes; "" for one without a value

    bool has(const std::string& name) const { return options.count(name) > 0; }
    std::string value(const std::string& name) const { return has(name) ? options.at(name) : std::string(); }
};

constexpr int sStatusOk = 0;
constexpr int sStatusFailed = 1;  ///< the command failed, or verify has findings
constexpr int sStatusNotSuch = 2; ///< not a recording that can be read, or a wrong command line

/// Runs obri-adv with the arguments that follow its name and returns its exit status.
/// Results go to out, errors to err, a line each.
int runTool(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

/// Each command, named after its word on the command line.
int runInfo(const SArguments& arguments, std::ostream& out, std::ostream& err);
int runVerify(const SArguments& arguments, std::ostream& out, std::ostream& err);
int runFrame(const SArguments& arguments, std::ostream& out, std::ostream& err);
int runExport(const SArguments& arguments, std::ostream& out, std::ostream& err);
int runLightCurve(const SArguments& arguments, std::ostream& out, std::ostream& err);
int runCompress(const SArguments& arguments, std::ostream& out, std::ostream& err);
int runDecompress(const SArguments& arguments, std::ostream& out, std::ostream& err);
int runRepair(const SArguments& arguments, std::ostream& out, std::ostream& err);

} // namespace obriadv
