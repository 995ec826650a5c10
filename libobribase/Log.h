#pragma once

#include <string>

// The application log: one line an event, stamped with the UTC date to the millisecond, in the working directory's
// "obri_app_log_YYYY_MM_DD.txt". Texts begin with a level letter and a blank: "I ", "W " or "E ".

namespace libobribase {

/// Opens (appends to) the day's log and says that the application started. An empty directory closes the log
/// instead; otherwise the directory is not used, on purpose: the file lands in the working directory. Main thread.
void logOpen(const std::string& directory, char separator);

/// From here on lines are written and flushed by a thread of the log's own, in order, and logClose waits for them: a
/// disk that stands still must not hold up the thread of frames. A process that ends without logClose loses what is not
/// written yet. All stays as it was when no thread can be had. Main thread.
void logWriteBehind();

/// Writes the closing line and closes; harmless when the log is not open. Main thread, or the ending routine.
void logClose();

// Each writes and flushes one line, or leaves that to the log's thread; nothing happens while the log is not open. Any
// thread.
void logString(const std::string& text);
void logStringInt(const std::string& text, int value);                  ///< "text 5", cut at 1023 bytes
void logStringIntInt(const std::string& text, int value, int second);   ///< "text 5 6", likewise
void logStringDouble(const std::string& text, double value);            ///< "text 5.000", likewise
void logStringString(const std::string& text, const std::string& more); ///< "text more", likewise

} // namespace libobribase
