#pragma once

#include <cstdint>

namespace libobribase {

class BinaryOverlay;
class CameraStatus;
class ZoneMatrix;
struct DateTime;

constexpr int sHistogramBins = 1024;         ///< of 64 pixel values each
constexpr int sTransferCurveEntries = 65536; ///< one colour for every pixel value
constexpr int sProfileRadius = 16;           ///< pixels to either side of the profile's centre
constexpr int sProfileEntries = 2 * sProfileRadius + 1;

/// The pixel work on one captured frame: decoding, correction, time stamp, preview.
///
/// Lives for one frame, over buffers of the caller: frame, darkFrame and flatFrame are each width x height 16-bit
/// pixels without gaps between rows, borrowed for the object's life. Nothing here allocates. The operations are
/// meant to be called in the order in which they are declared. Streaming thread.
class FrameProcessing {
public:
    static constexpr int sMaxRows = 4096;

    /// @param width, height  pixels, both 1 or more; height at most sMaxRows
    /// @param isCompressed   1: the camera sends 8 pixels in 12 bytes; 0: one pixel in each 16-bit word
    /// @param frame          receives the decoded pixels, corrected in place afterwards
    /// @param darkFrame      subtracted from every frame; all zero where there is no dark
    /// @param flatFrame      read only while a flat scale is given
    FrameProcessing(int width, int height, int isCompressed, unsigned short* frame, unsigned short* darkFrame,
                    unsigned short* flatFrame);
    virtual ~FrameProcessing() = default;
    FrameProcessing(const FrameProcessing&) = delete;
    FrameProcessing& operator=(const FrameProcessing&) = delete;

    int32_t m_width;
    int32_t m_height;
    int32_t m_isCompressed;
    uint16_t* m_frame;
    uint16_t* m_darkFrame;
    uint16_t* m_flatFrame;
    int32_t m_meanValid = 0;               ///< 1 when the frame has a central region to measure
    uint32_t m_mean = 0;                   ///< of the central region, truncated
    uint16_t m_lowerBound = 0;             ///< mean - 1024, not below 0
    uint16_t m_upperBound = 0;             ///< mean + 1024, not above 65535
    int32_t m_lineAverages[sMaxRows] = {}; ///< each row's signed distance from the frame's level
    int32_t m_textWidth = 0;               ///< of the time stamp drawn last, in pixels; may exceed the frame's width
    int32_t m_textHeight = 0;

    /// Decodes the camera's buffer into the frame and measures the mean of its central region.
    ///
    /// @param raw  any alignment. Uncompressed: width * height words. Compressed: for each row 12 bytes for every
    ///             8 pixels, a last group that is cut short by the row's end included with all its 12 bytes.
    ///
    /// The region lies between column 104 and about 100 columns from the right, and between row 16 and the 18
    /// bottom rows; a frame of 204 columns or 34 rows has none.
    void DecodeFrame(const void* raw);

    /// Has the overlay parsed from the frame's last row.
    void UpdateBinaryOverlay(BinaryOverlay* overlay);

    /// Hands the overlay, and its start time as the system time, to the status.
    void UpdateCameraStatus(BinaryOverlay* overlay, CameraStatus* status);

    /// Measures how far each row lies from the frame's level, from the pixels near the mean. Without a mean all
    /// distances are zero.
    void CalculateFrameLineAverages();

    /// Corrects the frame in place: line noise, then dark, then flat.
    ///
    /// @param lineNoiseOn       whether to subtract each row's distance from the frame's level
    /// @param keepRowsAtBottom  rows above the overlay row that, with it, keep their line noise
    /// @param darkPedestal      added before the dark is subtracted, so that noise around zero survives
    /// @param flatScale         the flat's level, by which pixel / flat is multiplied; 0: no flat correction
    void ApplyNoiseDarkFlatProcessing(int lineNoiseOn, int keepRowsAtBottom, uint16_t darkPedestal, uint16_t flatScale);

    /// Draws the computer's time, white on black, into the frame's top left corner.
    void ApplyPcTimeOverlay(const DateTime* time);

    /// Builds the picture for the window and the histogram of the frame.
    ///
    /// @param overlay           not used
    /// @param zones             zones to outline; may be null
    /// @param rgb               receives width * height words 0x00RRGGBB
    /// @param histoBins         receives sHistogramBins counts; the 16 top and bottom rows do not count
    /// @param transferCurve     sTransferCurveEntries colours
    /// @param profile           receives the sProfileEntries pixels around (profileX, profileY); 0 outside the frame
    /// @param rawRowsAtBottom   rows shown in plain grey, outside histogram and profile
    /// @param rawColumnsAtLeft  columns likewise
    /// @param profileHighByte   whether the profile holds the pixels' high bytes
    /// @param invertedMode      whether dark pixels are the ones that overflow
    /// @param skipTextArea      whether the time stamp is left out of the marking
    /// @param showOverflow      whether pixels near saturation are coloured red and yellow; zones come first
    void CreatePreview(BinaryOverlay* overlay, ZoneMatrix* zones, uint32_t* rgb, uint64_t* histoBins,
                       const uint32_t* transferCurve, uint16_t* profile, int profileX, int profileY,
                       int rawRowsAtBottom, int rawColumnsAtLeft, int profileHighByte, int invertedMode,
                       int skipTextArea, int showOverflow);

private:
    void setMean(uint64_t sum, int64_t count);
    int32_t rowAverage(int row) const;
    void fillProfile(uint16_t* profile, int profileX, int profileY, int endRow, int firstColumn, int highByte) const;
};

} // namespace libobribase
