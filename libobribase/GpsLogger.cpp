#include "GpsLogger.h"

#include "BinaryOverlay.h"
#include "Log.h"
#include "TextFormat.h"

namespace libobribase {

namespace {

// Lines end in a carriage return alone, on purpose.
constexpr char sHeader[] =
    "FrameNr;FromTime;ToTime;FixState;NofSats;AccuracyM;Lat;Lon;HeightM;DOPG;DOPP;DOPT;DOPV;DOPH\r";

std::string todaysPath(const std::string& directory)
{
    DateTime now;
    DateTime::Now(&now);
    char name[64];
    snprintf(name, sizeof name, "/obri_gps_log_%04d_%02d_%02d.txt", now.year, now.month, now.day);
    return directory + name;
}

std::string rowOf(const BinaryOverlay& o)
{
    std::string row = std::to_string(o.m_frameId);
    const auto add = [&row](const std::string& column) { (row += ';') += column; };
    add(BinaryOverlay::FormatDateTime(&o.m_fromTime));
    add(BinaryOverlay::FormatDateTime(&o.m_toTime));
    add(std::to_string(o.m_fixState));
    add(std::to_string(o.m_nofSats));
    add(std::to_string(o.m_accuracyM));
    add(BinaryOverlay::FormatGpsPosition(o.m_latitudeE7, 0));
    add(BinaryOverlay::FormatGpsPosition(o.m_longitudeE7, 1));
    add(formatFixed(o.m_altitudeMm / 1000.0, 3));
    for (const uint16_t dop : o.m_dop)
        add(formatFixed(dop / 100.0, 2));
    return row + '\r';
}

bool writeText(FILE* file, const std::string& text)
{
    return fputs(text.c_str(), file) >= 0 && fflush(file) == 0;
}

} // namespace

CGpsLogger* CGpsLogger::instance()
{
    static auto* logger = new CGpsLogger; // never destroyed: the streaming thread may be logging at the end
    return logger;
}

CGpsLogger::~CGpsLogger()
{
    Stop();
}

bool CGpsLogger::Start(const std::string& directory)
{
    const SemaphoreGuard guard(m_semaphore);
    if (m_file)
        return true;
    m_file = fopen(todaysPath(directory).c_str(), "ae");
    if (!m_file) {
        logString("E Failed to open CSV file for GPS status recording");
        return false;
    }
    fseek(m_file, 0, SEEK_END);
    if (ftell(m_file) == 0)
        writeText(m_file, sHeader);
    m_enabled = true;
    return true;
}

void CGpsLogger::Stop()
{
    const SemaphoreGuard guard(m_semaphore);
    close();
}

void CGpsLogger::close()
{
    m_enabled = false;
    if (m_file)
        fclose(m_file);
    m_file = nullptr;
}

void CGpsLogger::Log(const BinaryOverlay* overlay)
{
    const SemaphoreGuard guard(m_semaphore);
    if (!m_file || writeText(m_file, rowOf(*overlay)))
        return;
    logString("E Failed to write CSV file for GPS status recording");
    close();
}

} // namespace libobribase
