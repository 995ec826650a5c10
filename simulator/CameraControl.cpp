#include "Camera.h"

#include <algorithm>
#include <cerrno>
#include <linux/usb/video.h>

namespace obrisim {

constexpr uint8_t sUnit = 3, sSelector = 5;

int Camera::setControl(uvc_xu_control_query& query)
{
    std::copy_n(query.data, sCommandBytes, m_lastCommand.begin());
    const int error = m_xuFault.error();
    m_journal.command(m_clock.nowNs(), m_lastCommand, error);
    if (error)
        return -error;
    applyCommand(m_settings, m_lastCommand);
    return 0;
}

int Camera::extensionUnit(SHandle&, void* argument)
{
    auto& query = *static_cast<uvc_xu_control_query*>(argument);
    if (query.unit != sUnit || query.selector != sSelector)
        return -ENOENT;
    const uint16_t size = query.query == UVC_GET_LEN ? 2 : query.query == UVC_GET_INFO ? 1 : sCommandBytes;
    if (query.size != size)
        return -ENOBUFS;
    if (!query.data)
        return -EFAULT;
    std::fill_n(query.data, query.query == UVC_SET_CUR ? 0 : size, uint8_t{0});
    switch (query.query) {
    case UVC_SET_CUR:
        return setControl(query);
    case UVC_GET_CUR:
        std::ranges::copy(m_lastCommand, query.data);
        return 0;
    case UVC_GET_LEN:
        query.data[0] = sCommandBytes;
        return 0;
    case UVC_GET_INFO:
        query.data[0] = UVC_CONTROL_CAP_GET | UVC_CONTROL_CAP_SET;
        return 0;
    case UVC_GET_MIN:
    case UVC_GET_MAX:
    case UVC_GET_RES:
    case UVC_GET_DEF:
        return 0;
    default:
        return -EINVAL;
    }
}

} // namespace obrisim
