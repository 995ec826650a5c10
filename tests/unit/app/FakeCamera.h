#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <vector>

/// Stands in for libv4l2 in this test program: its functions are replaced when the program is linked, and answer for
/// the fake that lives. One at a time.
class FakeCamera {
public:
    FakeCamera();
    ~FakeCamera();

    using Command = std::array<uint8_t, 5>;

    std::vector<uint32_t> requests;  ///< codes, in the order of arrival
    std::vector<Command> commands;   ///< extension-unit writes that were complete and well addressed
    std::map<uint32_t, int> refusal; ///< code -> errno
    uint32_t bytesUsed = 0;          ///< of every dequeued buffer
    int mappings = 0;                ///< mapped and not unmapped

    int count(uint32_t request) const;
    int answer(uint32_t request, void* arg);

private:
    void takeCommand(const void* arg);
};
