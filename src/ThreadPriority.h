#pragma once

/// Lets the calling thread run before ordinary work, as far as the system allows: with the lowest real-time priority
/// where the user may have one, else with the high priority that RealtimeKit gives to programs of a desktop. Where
/// neither is to be had, all stays as it is. Threads it starts are ordinary ones. Any thread; waits for nothing.
void raiseThreadPriority();
