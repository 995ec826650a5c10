#include "Camera.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>

namespace obrisim {

/// One exposure: what the camera had been told when it began. Times are camera time.
struct Camera::SExposure {
    uint32_t frameId;
    SSettings settings;
    int64_t startNs, endNs;
    int64_t readNs; ///< read out: the earliest moment it can be sent
    double targetPart;
};

static SSky makeSky(const SOptions& options)
try {
    return options.scene.empty() ? makeStarField(options.seed) : makeSkyFromFits(options.scene);
} catch (const std::exception& error) {
    fprintf(stderr, "obri-simcam: %s; showing the star field\n", error.what());
    return makeStarField(options.seed);
}

int64_t Camera::framePeriod() const
{
    const int64_t readOut = m_options.maxFps > 0 ? static_cast<int64_t>(1e9 / m_options.maxFps) : m_mode->readoutNs;
    return std::max(readOut, m_settings.exposureMs * int64_t{1'000'000});
}

void Camera::prepareStream(std::unique_lock<Monitor>& lock)
{
    const SSettings settings = m_settings;
    lock.unlock(); // the sky takes a while to make; requests are served meanwhile
    if (!m_composer)
        m_composer = std::make_unique<FrameComposer>(makeSky(m_options), m_options.seed);
    m_composer->prepare(*m_mode, settings);
    m_composer->keepHash(m_journal.wantsHash());
    m_composer->keepPixels(m_journal.wantsPixels());
    lock.lock();
    m_streamFrames = 0;
    m_sequence = 0;
    m_dead = false;
    m_dying = m_deadStreams.strikes();
    m_nextStartNs = m_clock.nowNs();
    if (m_firstStreamNs == 0)
        m_firstStreamNs = monotonicNs();
}

/// A camera is a device of its own, which nothing that keeps the computer busy delays. Where the user may not have such
/// a priority, something does.
static void runAsDevice()
{
    const sched_param aboveTheProgram{.sched_priority = sched_get_priority_min(SCHED_RR) + 1};
    sched_setscheduler(0, SCHED_RR | SCHED_RESET_ON_FORK, &aboveTheProgram);
}

void Camera::makeFrames()
{
    pthread_setname_np(pthread_self(), "camera");
    prctl(PR_SET_TIMERSLACK, 1000); // ns: a frame is due when it is due
    if (!m_options.paceByBuffers)
        runAsDevice();
    std::unique_lock lock(m_monitor);
    prepareStream(lock);
    while (m_streaming && !m_gone)
        makeFrame(lock);
    // Pulled out, the camera has no more requests to serve: nobody may ever come to join this thread.
    if (m_gone && m_maker.joinable())
        m_maker.detach();
}

Camera::SExposure Camera::nextExposure() const
{
    SExposure exposure{m_frameId + 1, m_settings, m_nextStartNs, 0, m_nextStartNs + framePeriod(), 0};
    exposure.endNs = exposure.startNs + m_settings.exposureMs * int64_t{1'000'000};
    const int64_t origin = m_clock.originNs();
    exposure.targetPart = visiblePart(m_options.occultation, exposure.startNs - origin, exposure.endNs - origin);
    return exposure;
}

void Camera::makeFrame(std::unique_lock<Monitor>& lock)
{
    const SExposure exposure = nextExposure();
    if (!waitUntilRead(exposure))
        return;
    m_frameId = exposure.frameId;
    m_nextStartNs = exposure.readNs;
    m_clock.advanceTo(exposure.readNs);
    ++m_streamFrames;
    if (misfortune(lock, exposure))
        return;
    if (waitForBuffer())
        return fillBuffer(lock, exposure, m_buffers.beginFilling());
    if (!m_streaming || m_gone || unplugIsDue()) // it is not the program's fault
        return leaveUnsent(lock, exposure);
    ++m_sequence;
    leaveUnsent(lock, exposure, m_attendance.backlog(m_caller));
}

// True when the exposure has been read; false when the stream ended before.
bool Camera::waitUntilRead(const SExposure& exposure)
{
    const int64_t due = m_clock.monotonicAt(exposure.readNs);
    m_wantsBuffer = m_options.paceByBuffers;
    while (m_streaming && !m_gone) {
        if (unplugIsDue())
            pullCable();
        else if (m_options.paceByBuffers ? m_buffers.hasQueued() : monotonicNs() >= due)
            return true;
        else
            m_monitor.waitUntil(m_options.paceByBuffers ? nextLookNs() : std::min(due, nextLookNs()));
    }
    return false;
}

// A moment at which an unplugging by time has to be looked at.
int64_t Camera::nextLookNs() const
{
    return monotonicNs() + 50'000'000;
}

// Everything that can happen to a frame besides being sent; true when it is not sent.
bool Camera::misfortune(std::unique_lock<Monitor>& lock, const SExposure& exposure)
{
    const int64_t number = int64_t{exposure.frameId} - 1, inStream = m_streamFrames - 1;
    if (FaultCounter(m_options.unplug).covers(number))
        return pullCable(), true;
    if (m_dying && inStream == m_options.dead.after)
        die();
    const bool silent = m_dead || FaultCounter(m_options.stall).covers(inStream);
    if (!silent && !FaultCounter(m_options.lose).covers(number))
        return false;
    if (silent && m_options.paceByBuffers) // nothing else would make the time pass
        m_monitor.waitUntil(monotonicNs() + framePeriod());
    leaveUnsent(lock, exposure);
    return true;
}

// A broken transfer: the driver hands all buffers back at once.
void Camera::die()
{
    m_dead = true;
    for (int returned = m_buffers.returnAllDamaged(); returned > 0; --returned)
        signalFrame();
}

// A camera has no patience: without a buffer the frame is gone. It gives the program a period for each buffer, though:
// when this thread comes late, as threads do on a busy computer, all that has become due is sent at once, and the
// program could not know.
bool Camera::waitForBuffer()
{
    m_wantsBuffer = true;
    while (m_streaming && !m_gone && !m_buffers.hasQueued() && !unplugIsDue()) {
        const int64_t patience = patienceEndsNs();
        if (monotonicNs() >= patience)
            break;
        m_monitor.waitUntil(std::min(patience, nextLookNs()));
    }
    m_wantsBuffer = false;
    return m_buffers.hasQueued();
}

// A program that stands at the door gets a period to come in; what it waited there is excused then.
int64_t Camera::patienceEndsNs()
{
    const int64_t patience = m_buffers.longestHeldSinceNs() + m_buffers.count() * framePeriod();
    if (m_caller == 0 || !m_attendance.isOf(m_caller))
        return patience;
    if (m_noticedSinceNs != m_waitingSinceNs) {
        m_noticedSinceNs = m_waitingSinceNs;
        m_noticedNs = monotonicNs();
    }
    return std::max(patience, m_noticedNs + framePeriod());
}

// The log's disk may keep this thread waiting: not with the lock.
void Camera::leaveUnsent(std::unique_lock<Monitor>& lock, const SExposure& exposure,
                         const std::optional<SBacklog>& loss)
{
    lock.unlock();
    report(exposure, false, 0, loss);
    lock.lock();
}

void Camera::report(const SExposure& exposure, bool sent, uint64_t hash, const std::optional<SBacklog>& loss) const
{
    m_journal.frame({exposure.frameId, sent, exposure.startNs, exposure.endNs, m_mode->width, m_mode->height, hash,
                     exposure.targetPart, loss});
}

SFrameJob Camera::describeFrame(const SExposure& exposure) const
{
    const int64_t number = int64_t{exposure.frameId} - 1;
    SFrameJob job;
    job.mode = m_mode;
    job.targetPart = exposure.targetPart;
    job.overlay.startNs = exposure.startNs;
    job.overlay.endNs = exposure.endNs;
    job.overlay.frameId = exposure.frameId;
    job.overlay.width = static_cast<uint16_t>(m_mode->width);
    job.overlay.height = static_cast<uint16_t>(m_mode->height);
    job.overlay.binning = static_cast<uint16_t>(m_mode->binning);
    job.overlay.settings = exposure.settings;
    job.overlay.gps = gpsAt(m_options.gps, exposure.startNs - m_clock.originNs(), exposure.startNs);
    job.overlay.badPreamble = FaultCounter(m_options.badPreamble).covers(number);
    job.overlay.badChecksum = FaultCounter(m_options.badChecksum).covers(number);
    job.overlay.year = FaultCounter(m_options.badYear).covers(number) ? m_options.year : 0;
    return job;
}

// The pixels are made without the lock: a buffer that is being filled is nobody else's.
void Camera::fillBuffer(std::unique_lock<Monitor>& lock, const SExposure& exposure, int index)
{
    const SFrameJob job = describeFrame(exposure);
    const bool isShort = FaultCounter(m_options.shortFrame).covers(int64_t{exposure.frameId} - 1);
    uint8_t* data = m_buffers.data(index);
    m_buffers.at(index).heldSinceNs = monotonicNs();
    m_attendance.frameBegun();
    lock.unlock();
    m_composer->compose(job, data);
    report(exposure, true, m_composer->hash());
    m_journal.pixels(exposure.frameId, m_composer->pixels());
    lock.lock();
    SBuffer& buffer = m_buffers.at(index);
    buffer.bytesUsed = static_cast<uint32_t>(isShort ? m_mode->bytes() / 2 : m_mode->bytes());
    buffer.sequence = m_sequence++;
    buffer.frameId = exposure.frameId;
    buffer.timestampNs = monotonicNs();
    // To make a frame takes a fraction of its period: what goes beyond was this thread's wait, not the program's work.
    buffer.heldSinceNs = std::max(buffer.heldSinceNs, buffer.timestampNs - framePeriod());
    m_buffers.finishFilling(index);
    m_attendance.frameFinished(buffer.heldSinceNs);
    signalFrame();
}

void Camera::signalFrame()
{
    eventfd_write(m_owner, 1);
    m_monitor.notifyAll();
}

bool Camera::unplugIsDue() const
{
    const auto after = static_cast<int64_t>(m_options.unplugAtS * 1e9);
    return !m_gone && after > 0 && m_firstStreamNs > 0 && monotonicNs() >= m_firstStreamNs + after;
}

void Camera::pullCable()
{
    m_gone = true;
    signalAll();
    if (m_unplugged)
        m_unplugged();
}

} // namespace obrisim
