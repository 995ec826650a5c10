#pragma once

#include <functional>
#include <sigc++/connection.h>

/// Does something no more often than a person can see it, however often it is asked for; what was asked for last is
/// always done. Main thread.
class Pace {
public:
    explicit Pace(std::function<void()> action);
    ~Pace();
    Pace(const Pace&) = delete;
    Pace& operator=(const Pace&) = delete;

    /// Has it done at the next of the times at which all of them act.
    void ask();

private:
    std::function<void()> m_action;
    sigc::connection m_timer;
};
