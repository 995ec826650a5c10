#include "RecordingRate.h"

namespace {

constexpr double sWindowSeconds = 30; // several frames of the longest exposure

} // namespace

double RecordingRate::at(const SRecordingStatus& recording)
{
    const SMark present{recording.seconds, recording.bytesWritten};
    if (m_marks.empty() || present.seconds < m_marks.back().seconds || present.bytes < m_marks.back().bytes)
        m_marks = {{0, 0}}; // another recording
    if (present.seconds > m_marks.back().seconds)
        m_marks.push_back(present);
    while (m_marks.size() > 2 && m_marks[1].seconds <= present.seconds - sWindowSeconds)
        m_marks.pop_front();
    const SMark& first = m_marks.front();
    const double seconds = present.seconds - first.seconds;
    return seconds > 0 ? static_cast<double>(present.bytes - first.bytes) / seconds : 0;
}
