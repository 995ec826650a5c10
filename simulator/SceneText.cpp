#include "SceneText.h"

#include "Sky.h"

#include <charconv>

namespace obrisim {

std::string decimal(double value, int decimals)
{
    char text[64];
    return {text, std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals).ptr};
}

std::string targetLines(const char* before)
{
    std::string text;
    for (const SSensorMode& mode : sensorModes()) {
        const auto [x, y] = targetIn(mode);
        text += std::string(before) + "target " + std::to_string(mode.width) + "x" + std::to_string(mode.height) + " " +
                decimal(x) + " " + decimal(y) + "\n";
    }
    return text;
}

std::string sceneText(const SOptions& options)
{
    const SSky sky = options.scene.empty() ? makeStarField(options.seed) : makeSkyFromFits(options.scene);
    std::string text = targetLines("");
    for (const SStar& star : sky.stars)
        text += "star " + decimal(star.x) + " " + decimal(star.y) + " " + decimal(star.electronsPerSecond) + "\n";
    return text;
}

} // namespace obrisim
