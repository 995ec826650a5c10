#pragma once

#include "InheritingMutex.h"

#include <condition_variable>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

namespace libobribase {

/// Writes lines into a stream on a thread of its own, so that whoever has something to say never waits for a disk.
/// Between construction and destruction nobody else may use the stream.
class LineQueue {
public:
    /// Null when no thread can be had.
    static std::unique_ptr<LineQueue> Start(FILE* stream);
    /// Waits until all lines are written.
    ~LineQueue();
    LineQueue(const LineQueue&) = delete;
    LineQueue& operator=(const LineQueue&) = delete;

    /// Any thread.
    void Add(const std::string& line);

private:
    explicit LineQueue(FILE* stream) : m_stream(stream) {}
    void Run();

    FILE* const m_stream;
    InheritingMutex m_mutex; // guards what follows
    std::condition_variable m_work;
    std::string m_lines;
    bool m_isEnding = false;
    std::thread m_thread;
};

} // namespace libobribase
