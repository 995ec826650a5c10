#include "FitsHeaderService.h"

#include "RecordingTestKit.h"

#include <gtest/gtest.h>
#include <stdexcept>

using libobrifile::FitsHeaderData;
using libobrifile::FitsHeaderService;

TEST(FitsHeaderData, NumbersAreKeptAsText)
{
    FitsHeaderData header;
    header.SetWidth(640);
    header.SetHeight(-1);
    header.SetBitpix(16);
    EXPECT_EQ(header.GetWidth(), 640);
    EXPECT_EQ(header.GetHeight(), -1);
    EXPECT_EQ(header.GetValueForKey("NAXIS1"), "640");
    EXPECT_EQ(header.GetValueForKey("NAXIS2"), "-1");
    EXPECT_EQ(header.GetValueForKey("BITPIX"), "16");
}

TEST(FitsHeaderData, TextsStandUnderTheirKeywords)
{
    FitsHeaderData header;
    header.SetObject("a");
    header.SetTelescope("b");
    header.SetInstrument("c");
    header.SetObserver("d");
    header.SetComment("e");
    std::string all;
    for (const char* key : {"OBJECT", "TELESCOP", "INSTRUME", "OBSERVER", "COMMENT"})
        all += header.GetValueForKey(key);
    EXPECT_EQ(all, "abcde");
    EXPECT_EQ(header.GetObject() + header.GetTelescope() + header.GetInstrument() + header.GetObserver() +
                  header.GetComment(),
              "abcde");
}

TEST(FitsHeaderData, WhatIsNoNumberThrows)
{
    FitsHeaderData header;
    EXPECT_EQ(header.GetValueForKey("NAXIS1"), "");
    EXPECT_THROW(header.GetWidth(), std::invalid_argument);
    header.SetValueForKey("NAXIS1", "wide");
    EXPECT_THROW(header.GetWidth(), std::invalid_argument);
    header.SetValueForKey("NAXIS1", "99999999999");
    EXPECT_THROW(header.GetWidth(), std::out_of_range);
}

TEST(FitsHeaderService, TakesWhatTheProviderKnows)
{
    FakeProvider provider;
    provider.header = {{"OBSERVER", "Ann"}, {"INSTRUME", "OBRI+CAM"}, {"OBJECT", "x"}, {"RA", "1"}, {"AUTHOR", "Ann"}};
    provider.frame = {{"DATE-OBS", "2020-01-01T00:00:00.000"}, {"CCD-TEMP", "-12"}, {"OBJECT", "of the frame"}};
    FitsHeaderData header;
    header.SetTelescope("as before");
    FitsHeaderService(&header).WriteFitsHeaderData(640, 480, &provider);
    EXPECT_EQ(header.GetWidth(), 640);
    EXPECT_EQ(header.GetHeight(), 480);
    EXPECT_EQ(header.GetBitpix(), 16);
    EXPECT_EQ(header.GetObserver(), "Ann");
    EXPECT_EQ(header.GetObject(), "of the frame");
    EXPECT_EQ(header.GetTelescope(), "as before");
    EXPECT_EQ(header.GetValueForKey("RA"), "1");
    EXPECT_EQ(header.GetValueForKey("AUTHOR"), "");
    EXPECT_EQ(header.GetValueForKey("DATE-OBS"), "2020-01-01T00:00:00.000");
    EXPECT_EQ(header.GetValueForKey("CCD_TEMP"), "-12");
    EXPECT_EQ(header.GetValueForKey("CCD-TEMP"), "");
}
