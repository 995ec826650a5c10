#include "CommandLine.h"

#include "AdvTime.h"
#include "LightCurve.h"
#include "SafeText.h"

#include "TextFormat.h"

#include <algorithm>
#include <iterator>
#include <ostream>

namespace obriadv {

namespace {

/// A whole text as a number; parseDouble would stop at the first letter that belongs to none.
bool wholeNumber(const std::string& text, double& value)
{
    const bool hasOther = text.find_first_not_of("0123456789.+-") != std::string::npos;
    return !text.empty() && !hasOther && libobribase::parseDouble(text, &value);
}

bool twoNumbers(const std::string& text, double& first, double& second)
{
    const size_t comma = text.find(',');
    return comma != std::string::npos && wholeNumber(text.substr(0, comma), first) &&
           wholeNumber(text.substr(comma + 1), second);
}

/// Empty, or what is wrong with the options.
std::string readAperture(const SArguments& arguments, SAperture& aperture)
{
    if (!arguments.has("at"))
        return "lightcurve wants \"--at X,Y\", the star's place in pixels";
    if (!twoNumbers(arguments.value("at"), aperture.x, aperture.y))
        return "\"--at\" wants two numbers, X,Y";
    if (arguments.has("radius") && !wholeNumber(arguments.value("radius"), aperture.radius))
        return "\"--radius\" wants a number of pixels";
    aperture.inner = aperture.radius + 3;
    aperture.outer = aperture.radius + 9;
    if (arguments.has("annulus") && !twoNumbers(arguments.value("annulus"), aperture.inner, aperture.outer))
        return "\"--annulus\" wants two numbers of pixels, IN,OUT";
    return checkAperture(aperture);
}

/// A drawing over time has no place for frames that were stamped without a valid clock.
std::vector<SLightPoint> withTime(const std::vector<SLightPoint>& points)
{
    std::vector<SLightPoint> timed;
    std::copy_if(points.begin(), points.end(), std::back_inserter(timed),
                 [](const SLightPoint& point) { return isPlausibleTime(point.midNs); });
    return timed;
}

} // namespace

int runLightCurve(const SArguments& arguments, std::ostream& out, std::ostream& err)
{
    const std::string& path = arguments.files[0];
    SAperture aperture;
    if (const std::string wrong = readAperture(arguments, aperture); !wrong.empty()) {
        err << "obri-adv: " << wrong << "\n";
        return sStatusNotSuch;
    }
    AdvFile file;
    if (const std::string error = file.open(path); !error.empty()) {
        err << "obri-adv: " << path << ": " << error << "\n";
        return sStatusNotSuch;
    }
    std::vector<SLightPoint> points;
    std::vector<size_t> skipped;
    std::string error = measureLightCurve(file, aperture, points, skipped);
    const std::vector<SLightPoint> drawn = withTime(points);
    if (error.empty() && arguments.has("png"))
        error = lightCurvePng(drawn, printable(path) + " at " + arguments.value("at"), arguments.value("png"));
    if (!error.empty()) {
        err << "obri-adv: " << path << ": " << error << "\n";
        return sStatusFailed;
    }
    if (!skipped.empty())
        err << "obri-adv: " << path << ": " << skipped.size() << " damaged frames are left out, the first is frame "
            << skipped.front() << "\n";
    if (drawn.size() < points.size() && !arguments.has("csv"))
        err << "obri-adv: " << path << ": " << points.size() - drawn.size()
            << " frames without a valid time are not drawn\n";
    if (arguments.has("csv"))
        out << lightCurveCsv(points);
    else if (!arguments.has("png"))
        out << lightCurveText(drawn);
    return sStatusOk;
}

} // namespace obriadv
