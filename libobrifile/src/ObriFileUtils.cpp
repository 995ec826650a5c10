#include "ObriFileUtils.h"

#include "CameraStatus.h"
#include "DateTime.h"

#include <iomanip>
#include <locale>
#include <sstream>

namespace libobrifile {

namespace {
// "40ms", "12.5ms"
void putExposure(std::ostream& name, int tenthsOfMs)
{
    name << tenthsOfMs / 10;
    if (tenthsOfMs % 10 != 0)
        name << '.' << tenthsOfMs % 10;
    name << "ms";
}
} // namespace

std::string ObriFileUtils::CreateFileName(std::string extension, int withFrameNumber, char frameType,
                                          libobribase::CameraStatus* status, int width, int height)
{
    // A calibration frame is known by its day, width and exposure; height and gain are left out on purpose.
    const bool isCalibration = frameType == 'D' || frameType == 'F';
    libobribase::DateTime now;
    libobribase::DateTime::Now(&now);

    std::ostringstream name;
    name.imbue(std::locale::classic()); // no "1,624"
    name << std::setfill('0');
    const auto twoDigits = std::setw(2);
    if (isCalibration || frameType == 'P')
        name << frameType;
    name << std::setw(4) << now.year << twoDigits << now.month << twoDigits << now.day;
    if (!isCalibration)
        name << '_' << twoDigits << now.hour << twoDigits << now.minute << twoDigits << now.second;
    name << '_' << width;
    if (!isCalibration)
        name << 'x' << height << "_G" << status->m_gain << (status->m_highGain != 0 ? "H" : "");
    name << '_';
    putExposure(name, status->m_exposure100us);
    if (withFrameNumber != 0)
        name << "_[FRAMENR]";
    name << '.' << extension;
    return name.str();
}

} // namespace libobrifile
