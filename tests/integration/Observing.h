#pragma once

#include "Program.h"
#include "RecordingCheck.h"

#include <optional>
#include <string>
#include <vector>

// What an observer does in every run, and how what came of it is judged.

/// A size of the camera, as the window's box lists it.
struct SFrameSize {
    const char* name;
    int row;
    int width;
    int height;
};
constexpr SFrameSize sSizes[] = {{"Full", 0, 1624, 1240},
                                 {"Strip", 1, 1624, 128},
                                 {"Small", 2, 176, 128},
                                 {"Half", 3, 816, 620},
                                 {"Quarter", 4, 408, 310}};
constexpr SFrameSize sFullSize = sSizes[0], sSmallSize = sSizes[2];

/// So many frames of a stream are more than the camera has buffers: it had one back before it could send the last of
/// them, and the program gives a buffer back when it has done everything with the frame in it.
constexpr size_t sFramesUntilProcessed = 6;

// A sanitizer slows the program to a third: what must hold in real time holds for plain builds only.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool sIsSanitized = true;
#elif defined(__has_feature)
constexpr bool sIsSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool sIsSanitized = false;
#endif

/// Options for the simulated camera that run the program with a library ahead of all others it is loaded with.
std::vector<std::string> loading(const std::string& library);

/// True when others have taken so much of the machine since the last call of streamAt that nothing can be said about
/// real time.
bool isBusyElsewhere();

/// True when the environment asks for the long forms of tests (OBRI_NIGHTLY).
bool isNightly();

// The steps end a test with a fatal failure when the program does not follow.

/// Waits for the stream, changes to the size and waits until the program has processed a frame of it.
void streamAt(Program& program, const SFrameSize& size);
/// Enters an exposure time and waits until frames have it.
void setExposure(Program& program, int ms);
void startRecording(Program& program, const std::string& action = "startRecordingAdv");
void stopRecording(Program& program);
void quit(Program& program);

/// Recordings that have ended: their files are complete.
size_t endedRecordings(const Program& program);
/// Files of a folder with an extension, by name; none when there is no such folder.
std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder, const std::string& extension);
/// Lines of a text that hold a phrase.
size_t countLines(const std::string& text, const std::string& phrase);
/// Frames lost by the program's own count, as its log tells after a recording; none when it does not.
std::optional<size_t> lossToldBy(const Program& program);

/// Holds the program's "recording.adv" against the camera's log: expects every frame that was sent between the first
/// and the last to be in it as it was sent, and the program to have counted those that were not sent.
SHeld judgeRecording(const Program& program);
/// Expects that the camera had a buffer for each frame; on a machine that is busy elsewhere the test is skipped then.
void expectNoneLost(const SHeld& held);
