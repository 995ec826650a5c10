#include "CommandLine.h"

#include <algorithm>
#include <ostream>

namespace obriadv {

namespace {

struct SOption {
    const char* name;
    bool hasValue;
};

struct SCommand {
    const char* word;
    size_t files; ///< how many it takes
    std::vector<SOption> options;
    int (*run)(const SArguments&, std::ostream&, std::ostream&);
};

const std::vector<SCommand>& commands()
{
    static const std::vector<SCommand> sCommands = {
        {"info", 1, {{"json", false}}, runInfo},
        {"verify", 1, {}, runVerify},
        {"frame", 3, {}, runFrame},
        {"export", 2, {}, runExport},
        {"lightcurve",
         1,
         {{"at", true}, {"radius", true}, {"annulus", true}, {"csv", false}, {"png", true}},
         runLightCurve},
        {"compress", 2, {}, runCompress},
        {"decompress", 2, {}, runDecompress},
        {"repair", 2, {}, runRepair},
    };
    return sCommands;
}

constexpr char sHelp[] =
    R"(obri-adv looks into ADV recordings of occultation cameras, checks, converts and repairs them.

  obri-adv info FILE [--json]
      Shows image size, layouts, metadata, number of frames, first and last
      exposure, rate, gaps, GPS state over time, temperature codes.
      --json   the same as one JSON object

  obri-adv verify FILE|FOLDER
      Accounts for every byte of a recording and checks index, counts, times,
      the camera's frame counter, status entries and compressed blocks. In a
      folder it checks sequences of FITS files by their numbers and times.
      First line: the verdict. Then findings, and a table of every gap.
      Exit status 0: nothing found, 1: findings, 2: not such a file or folder.

  obri-adv frame FILE N OUT.fits
      Writes frame N (the first is 0) as a FITS file.

  obri-adv export FILE DIR
      Writes every frame as DIR/NAME_NNNNN.fits; DIR is made when missing.

  obri-adv lightcurve FILE --at X,Y [--radius R] [--annulus IN,OUT]
                      [--csv] [--png PLOT.png]
      Measures the star at pixel X,Y (0,0: middle of the top left pixel) in every
      frame, within R pixels (5), less the sky in the ring from IN to OUT pixels
      (R + 3 to R + 9), and draws it over the GPS mid-exposure times.
      --csv    the figures as comma separated lines instead of the drawing
      --png    the drawing as a PNG file

  obri-adv compress FILE OUT
  obri-adv decompress FILE OUT
      The same recording with and without Lagarith16 compression, compared frame
      by frame before it gets its name.

  obri-adv repair FILE OUT
      Completes an interrupted or damaged recording from its whole frames, with
      a new index whose offsets and times are not cut to 32 bits.

  obri-adv --help, --version

No command changes its input or overwrites a file. Exit status: 0 done, 1 failed
(or findings), 2 not a readable recording or a wrong command line.
)";

int misuse(std::ostream& err, const std::string& what)
{
    err << "obri-adv: " << what << " (obri-adv --help tells more)\n";
    return sStatusNotSuch;
}

/// Sorts the words behind the command into files and options; empty, or what is wrong with them.
std::string parseArguments(const SCommand& command, const std::vector<std::string>& words, SArguments& arguments)
{
    bool onlyFiles = false;
    for (size_t i = 1; i < words.size(); ++i) {
        if (words[i] == "--" && !onlyFiles) {
            onlyFiles = true;
            continue;
        }
        if (onlyFiles || words[i].rfind("--", 0) != 0) {
            arguments.files.push_back(words[i]);
            continue;
        }
        const size_t equals = words[i].find('=');
        const std::string name = words[i].substr(2, equals == std::string::npos ? equals : equals - 2);
        const auto option = std::find_if(command.options.begin(), command.options.end(),
                                         [&](const SOption& known) { return name == known.name; });
        if (option == command.options.end())
            return std::string(command.word) + " has no option \"--" + name + "\"";
        if (!option->hasValue && equals != std::string::npos)
            return "\"--" + name + "\" takes no value";
        if (option->hasValue && equals == std::string::npos && i + 1 == words.size())
            return "\"--" + name + "\" wants a value";
        arguments.options[name] = !option->hasValue             ? ""
                                  : equals != std::string::npos ? words[i].substr(equals + 1)
                                                                : words[++i];
    }
    if (arguments.files.size() != command.files)
        return std::string(command.word) + " wants " + std::to_string(command.files) +
               (command.files == 1 ? " argument" : " arguments") + ", not " + std::to_string(arguments.files.size());
    return {};
}

} // namespace

int runTool(const std::vector<std::string>& words, std::ostream& out, std::ostream& err)
{
    if (words.empty())
        return misuse(err, "no command given");
    if (std::find(words.begin(), words.end(), "--help") != words.end() || words[0] == "help") {
        out << sHelp;
        return sStatusOk;
    }
    if (words[0] == "--version") {
        out << "obri-adv " OBRI_VERSION "\n";
        return sStatusOk;
    }
    for (const SCommand& command : commands()) {
        if (words[0] != command.word)
            continue;
        SArguments arguments;
        const std::string wrong = parseArguments(command, words, arguments);
        return wrong.empty() ? command.run(arguments, out, err) : misuse(err, wrong);
    }
    return misuse(err, "there is no command \"" + words[0] + "\"");
}

} // namespace obriadv
