#pragma once
#include "Attendance.h"
#include "BufferQueue.h"
#include "Clock.h"
#include "FaultCounter.h"
#include "FrameComposer.h"
#include "Journal.h"
#include "Monitor.h"
#include "Options.h"
#include "SensorMode.h"

#include <array>
#include <atomic>
#include <functional>
#include <linux/uvcvideo.h>
#include <linux/videodev2.h>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace obrisim {

/// One open descriptor of a camera's node.
struct SHandle {
    int fd = -1;
    bool metadata = false;
    bool blocking = false;
    uint32_t priority = V4L2_PRIORITY_DEFAULT;
};

/// One mapping of a buffer.
struct SMapping {
    int memoryFd = -1; ///< to be mapped at the same offset
    int index = 0, generation = 0;
};

/// Which camera this is on the bus.
struct SIdentity {
    int number = 0; ///< 0, 1, ...: its USB port
    int videoNode = 0, metadataNode = 1;
};

/// The camera as the kernel's driver shows it: two device nodes, their requests, the stream of frames.
///
/// A descriptor is an eventfd that counts finished frames, so select and poll work on it; while nothing
/// streams it stays readable, as the driver's error state does. All public functions: any thread.
class Camera {
public:
    using Unplugged = std::function<void()>;

    /// @param unplugged  called once, on the thread that makes the frames, when the cable is pulled
    Camera(const SOptions& options, SIdentity identity, const Clock& clock, Unplugged unplugged);
    ~Camera();

    /// A descriptor, or the negative errno.
    int open(bool metadata, int flags);
    void close(int fd);

    /// 0, or the negative errno.
    int ioctl(int fd, uint32_t request, void* argument);

    /// Finds what to map for this part of the descriptor and counts the mapping: 0, or the negative errno.
    int map(int fd, size_t length, int64_t offset, SMapping& mapping);
    /// The mapping has gone. libv4l2 asks for it: it refuses requests while a buffer says that it is mapped.
    void unmapped(const SMapping& mapping);

    bool isGone();
    const SIdentity& identity() const { return m_identity; }

private:
    using Request = int (Camera::*)(SHandle&, void*);
    struct SRequest {
        uint32_t code;
        Request serve;
    };
    static const SRequest sVideoRequests[], sMetadataRequests[];
    static Request findRequest(const SHandle& handle, uint32_t code);

    // Camera.cpp
    SHandle* handleOf(int fd);
    bool isOwnedByOther(const SHandle& handle) const;
    void signalAll();
    void enter();

    // CameraFormat.cpp: what the camera is and what it can send
    int queryCapabilities(SHandle&, void*);
    int enumFormats(SHandle&, void*);
    int enumFrameSizes(SHandle&, void*);
    int enumFrameIntervals(SHandle&, void*);
    int getFormat(SHandle&, void*);
    int tryFormat(SHandle&, void*);
    int setFormat(SHandle&, void*);
    int getParameters(SHandle&, void*);
    int enumInputs(SHandle&, void*);
    int getInput(SHandle&, void*);
    int setInput(SHandle&, void*);
    uint32_t highestPriority() const;
    int getPriority(SHandle&, void*);
    int setPriority(SHandle&, void*);
    int enumMetadataFormats(SHandle&, void*);
    int metadataFormat(SHandle&, void*);

    // CameraBuffers.cpp: buffers and streaming
    int requestBuffers(SHandle&, void*);
    int queryBuffer(SHandle&, void*);
    int queueBuffer(SHandle&, void*);
    int dequeueBuffer(SHandle&, void*);
    int streamOn(SHandle&, void*);
    int streamOff(SHandle&, void*);
    int checkBuffer(const SHandle& handle, const v4l2_buffer& buffer) const;
    void describeBuffer(int index, v4l2_buffer& buffer);
    int waitForFrame(const SHandle& handle);
    void startMaker();
    void stopStreaming();
    void freeBuffers();

    // CameraControl.cpp: the extension unit
    int extensionUnit(SHandle&, void*);
    int setControl(uvc_xu_control_query& query);

    // CameraStream.cpp: the thread that makes the frames
    struct SExposure;
    void makeFrames();
    void prepareStream(std::unique_lock<Monitor>& lock);
    void makeFrame(std::unique_lock<Monitor>& lock);
    SExposure nextExposure() const;
    bool waitUntilRead(const SExposure& exposure);
    bool waitForBuffer();
    int64_t patienceEndsNs();
    bool misfortune(std::unique_lock<Monitor>& lock, const SExposure& exposure);
    void fillBuffer(std::unique_lock<Monitor>& lock, const SExposure& exposure, int index);
    SFrameJob describeFrame(const SExposure& exposure) const;
    void leaveUnsent(std::unique_lock<Monitor>& lock, const SExposure& exposure,
                     const std::optional<SBacklog>& loss = {});
    void report(const SExposure& exposure, bool sent, uint64_t hash, const std::optional<SBacklog>& loss = {}) const;
    void die();
    bool unplugIsDue() const;
    int64_t nextLookNs() const;
    void pullCable();
    void signalFrame();
    int64_t framePeriod() const;

    const SOptions m_options;
    const SIdentity m_identity;
    const Unplugged m_unplugged;

    std::atomic<pid_t> m_caller{0};           // the thread of the program that waits for the monitor; 0: none
    std::atomic<int64_t> m_waitingSinceNs{0}; // for the monitor; monotonic, of the latest that did
    Monitor m_monitor;                        // guards everything below
    Clock m_clock;
    Journal m_journal;
    std::unique_ptr<FrameComposer> m_composer; // the frame thread's own
    std::vector<SHandle> m_handles;
    SSettings m_settings;
    std::array<uint8_t, sCommandBytes> m_lastCommand{};
    const SSensorMode* m_mode;
    BufferQueue m_buffers;
    Attendance m_attendance;
    int m_owner = -1; // the descriptor whose request made the buffers

    bool m_gone = false, m_streaming = false;
    bool m_dying = false, m_dead = false; // this stream will break, has broken
    std::thread m_maker;
    bool m_wantsBuffer = false;   // the frame thread waits for one
    int64_t m_noticedSinceNs = 0; // the m_waitingSinceNs of the latest waiting that it noticed,
    int64_t m_noticedNs = 0;      // and when it did
    int64_t m_nextStartNs = 0;    // camera time
    int64_t m_streamFrames = 0;   // exposures of this stream
    uint32_t m_frameId = 0;       // exposures since the start
    uint32_t m_sequence = 0;
    int64_t m_firstStreamNs = 0; // monotonic

    FaultCounter m_xuFault, m_formatFault, m_streamOnFault, m_streamOffFault, m_queueFault, m_dequeueFault, m_mapFault;
    FaultCounter m_deadStreams;
};

} // namespace obrisim
