#pragma once

using TUiFunction = void (*)();
using TUiFunction1 = void (*)(int);
using TUiFunction2 = void (*)(int, int);
using TUiFunctionG = int (*)();

/// What the window can ask of the camera and the recorders, without knowing them. No entry is null.
struct SUiFunctions {
    TUiFunction startStreaming;
    TUiFunction stopStreaming;
    TUiFunction startRecordingAdv;
    TUiFunction startRecordingFits;
    TUiFunction stopRecording;
    TUiFunction1 startRecordingSingleFits; ///< 0 light, 'D' dark, 'F' flat
    TUiFunction2 setResolution;            ///< width, height in pixels
    TUiFunction1 setExposureTime;          ///< milliseconds
    TUiFunction1 setGain;                  ///< decibels
    TUiFunction1 setHighGainMode;
    TUiFunction1 setBlackLevel;
    TUiFunction1 setInvertMode;
    TUiFunction1 setFpnMode;
    TUiFunction1 setFlipMode;
    TUiFunction1 setShowPcTime;
    TUiFunction1 setOverlayMode;
    TUiFunctionG getIsStreaming;
    TUiFunctionG getIsRecording;
};
