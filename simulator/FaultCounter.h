#pragma once
#include "Options.h"

namespace obrisim {

/// Counts what a fault option counts.
class FaultCounter {
public:
    explicit FaultCounter(const SFault& fault) : m_fault(fault) {}

    /// One more of them happens: true when this one goes wrong.
    bool strikes() { return covers(m_seen++); }

    /// The number-th of them, counted from 0, goes wrong.
    bool covers(int64_t number) const
    {
        return m_fault.enabled && number >= m_fault.after &&
               (m_fault.count == 0 || number < m_fault.after + m_fault.count);
    }

    /// For requests: the errno of this one, or 0.
    int error() { return strikes() ? m_fault.error : 0; }

private:
    SFault m_fault;
    int64_t m_seen = 0;
};

} // namespace obrisim
