#pragma once

#include <array>
#include <atomic>

namespace libobribase {

/// Publishes whole values from one writer thread to one reader thread without locks, waits or copies.
///
/// Of the three slots one belongs to the writer, one to the reader, and the third changes hands: publish() swaps the
/// writer's slot with it, newest() the reader's. A slot is therefore never written while the reader holds it.
template <class T>
class TripleBuffer {
public:
    /// The writer's slot; its contents are those of an earlier value. Writer's thread.
    T& writeSlot() { return m_slots[m_writerSlot]; }

    /// Makes the writer's slot the newest value. Writer's thread.
    void publish() { m_writerSlot = m_shared.exchange(m_writerSlot | sUnread, std::memory_order_acq_rel) & sSlot; }

    /// The newest value; stays as it is until the next call. Reader's thread.
    const T& newest()
    {
        if (m_shared.load(std::memory_order_relaxed) & sUnread)
            m_readerSlot = m_shared.exchange(m_readerSlot, std::memory_order_acq_rel) & sSlot;
        return m_slots[m_readerSlot];
    }

private:
    static constexpr unsigned sSlot = 3, sUnread = 4;

    std::array<T, 3> m_slots{};
    unsigned m_writerSlot = 0;
    std::atomic<unsigned> m_shared{1};
    unsigned m_readerSlot = 2;
};

} // namespace libobribase
