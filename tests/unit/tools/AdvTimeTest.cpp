#include "AdvTime.h"
#include "JsonWriter.h"

#include <gtest/gtest.h>

namespace {

using namespace obriadv;

TEST(AdvTime, IsWrittenAndReadAsCalendarDate)
{
    EXPECT_EQ(isoTime(0), "2010-01-01T00:00:00.000");
    EXPECT_EQ(isoTime(315532800123456789, 6), "2020-01-01T00:00:00.123456");
    EXPECT_EQ(isoTime(315532800123456789, 0), "2020-01-01T00:00:00");
    // What a failed conversion leaves: the Unix epoch.
    EXPECT_EQ(isoTime(-1262304000000000000), "1970-01-01T00:00:00.000");
    EXPECT_EQ(isoTime(-1, 9), "2009-12-31T23:59:59.999999999");
    for (int64_t ns : {INT64_MIN, int64_t{-1}, int64_t{68255999999999999}, INT64_MAX}) {
        int64_t back = 0;
        if (parseIsoTime(isoTime(ns, 9), back))
            EXPECT_EQ(back, ns);
        else
            EXPECT_TRUE(ns == INT64_MIN || ns == INT64_MAX);
    }
}

TEST(AdvTime, WhatIsNoDateIsRefused)
{
    for (const char* text : {"", "2020-01-01", "2020-02-30T00:00:00", "2020-01-01T24:00:00", "2020-01-01 00:00:00",
                             "2020-01-01T00:00:00,5", "2020-01-01T00:00:00.x", "2020-+1-01T00:00:00", "27/10/82"}) {
        int64_t ns = 5;
        EXPECT_FALSE(parseIsoTime(text, ns)) << text;
        EXPECT_EQ(ns, 5);
    }
}

TEST(JsonWriter, HostileTextsStayInsideTheirQuotes)
{
    JsonWriter json;
    json.beginObject();
    json.text("a", "\"\\\n\x1b[2J");
    json.text("b", "\xC3\xBC \xC3( \xED\xA0\x80 \xC0\x80 \xF4\x90\x80\x80");
    json.number("c", 1.0 / 0.0, 3);
    json.endObject();
    EXPECT_EQ(json.result(), "{\n  \"a\": \"\\\"\\\\\\u000a\\u001b[2J\",\n"
                             "  \"b\": \"\xC3\xBC \\ufffd( \\ufffd\\ufffd\\ufffd \\ufffd\\ufffd "
                             "\\ufffd\\ufffd\\ufffd\\ufffd\",\n  \"c\": null\n}\n");
    EXPECT_EQ(printable("a\x1b[2J\x7F \xC2\x9B \xC3\xBC"), "a?[2J? ? \xC3\xBC");
}

} // namespace
