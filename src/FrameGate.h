#pragma once

#include "InheritingMutex.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <thread>

/// Keeps control operations (stop, start, format, recordings) and frames apart.
///
/// Why it holds. One thread owns the gate at a time: every entry waits under m_mutex until m_depth is 0, and sets the
/// owner before it lets the mutex go. A frame enters only through enterFrame, a control operation only through
/// Control, so neither ever runs inside the other; an operation called by the thread that owns the gate (a recording
/// that a frame ends, a stop inside a change of resolution) is part of what already owns it and only counts deeper.
///
/// Nobody starves. A control operation announces itself in m_waiting before it waits, and no frame enters while that
/// is not 0: it runs next, however fast frames come. Frames wait only for operations that people start.
///
/// No frame of a stream that has ended is processed. A thread reads session() before it waits for a frame, and hands
/// it to enterFrame; every start opens another session and every stop ends it, both with the gate held. A stream that
/// was stopped, or stopped and started again, while the thread waited therefore has another session, and the frame
/// that the thread believes to have is left alone.
///
/// Waiting for a frame and reading session() happen outside the gate, so a button waits for one frame's processing
/// and never for the camera. Whoever owns the gate must not wait for the other thread.
class FrameGate {
public:
    /// Owns the gate while it lives. Any thread.
    class Control {
    public:
        explicit Control(FrameGate& gate) : m_gate(gate) { m_gate.enterControl(); }
        ~Control() { m_gate.leave(); }
        Control(const Control&) = delete;
        Control& operator=(const Control&) = delete;

    private:
        FrameGate& m_gate;
    };

    /// Owns the gate while it lives, if the session is still the one given and the gate not closed. Streaming thread.
    class Frame {
    public:
        Frame(FrameGate& gate, uint64_t session) : m_gate(gate.enterFrame(session) ? &gate : nullptr) {}
        ~Frame()
        {
            if (m_gate)
                m_gate->leave();
        }
        Frame(const Frame&) = delete;
        Frame& operator=(const Frame&) = delete;
        explicit operator bool() const { return m_gate != nullptr; }

    private:
        FrameGate* m_gate;
    };

    uint64_t session() const { return m_session.load(); } ///< 0: no stream. Any thread.
    void openSession();                                   ///< Caller owns the gate.
    void endSession();                                    ///< Caller owns the gate.

    /// No frame enters from now on; one in progress is waited for. Any thread.
    void closeForGood();
    bool isClosed() const { return m_closed.load(); } ///< Any thread.

    /// Takes the gate and never gives it back, unless this thread has it already. Any thread.
    void enterForGood() { enterControl(); }
    /// Gives up whatever this thread has of the gate; harmless when that is nothing. Any thread.
    void abandon();

private:
    void enterControl();
    bool enterFrame(uint64_t session);
    void leave();

    libobribase::InheritingMutex m_mutex;
    std::condition_variable m_freed;
    std::thread::id m_owner; // meaningful while m_depth is not 0
    int m_depth = 0;
    int m_waiting = 0; // control operations that want the gate
    uint64_t m_sessionsOpened = 0;
    std::atomic<uint64_t> m_session{0};
    std::atomic<bool> m_closed{false};
};

/// The gate of the program's one camera.
FrameGate& frameGate();
