// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_QML_ANSWERS_H
#define HNIPC_TESTS_QML_ANSWERS_H

#include "support/fakedaemons.h"

#include <QtTest/QTest>

// A daemon's reply, and its value in JavaScript, which is the same in a request and in a reading.
struct ReadableAnswer
{
    const char *name;
    const char *method;
    const char *answer; // as GVariant
    const char *value;  // as JSON
};

const ReadableAnswer readableAnswers[] = {
    { "bool", "calibrateSupply", "true", "true" },
    { "number", "getError", "-7", "-7" },
    { "64 bits", "ribbon1Verify", "uint64 18446744073709551615", "\"18446744073709551615\"" },
    { "text", "m4Version", "'v'", "\"v\"" },
    { "list", "supplySKUList", "['a', 'b']", "[\"a\",\"b\"]" },
    { "table", "supplyColorHash", "{'a': <'#fff'>, 'b': <7>, 'c': <uint64 9007199254740993>}",
      "{\"a\":\"#fff\",\"b\":7,\"c\":\"9007199254740993\"}" },
    { "bytes", "supplyBackgroundImage", "[byte 0x00, 0xff, 0x7f]", "\"AP9/\"" },
};

inline void addReadableAnswers()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("value");
    for (const ReadableAnswer &row : readableAnswers) {
        QTest::newRow(row.name) << QByteArray(row.method) << '(' + QByteArray(row.answer) + ",)"
                                << QByteArray(row.value);
    }
}

// The value of the record of tellingFields().
const char readableRecord
    [] = "{\"text1\":\"text \xc3\xa4 1\",\"textList1\":[\"list\",\"\",\"one\"],\"real1\":1.5,"
         "\"integer1\":101,\"text2\":\"text 2\",\"real2\":-2.25,\"integer2\":-102,"
         "\"text3\":\"text 3\",\"integer3\":2147483647,\"text4\":\"text 4\","
         "\"integer4\":-2147483648,\"text5\":\"text 5\",\"real3\":3.125,\"integer5\":105,"
         "\"bytes1\":\"AP8Afw==\",\"real4\":4.5,\"real5\":5.5,\"integer6\":106,\"integer7\":107,"
         "\"integer8\":108,\"real6\":6.5,\"real7\":7.5,\"real8\":8.5,\"real9\":9.5,"
         "\"textList2\":[\"list two\"],\"variantList1\":[1,\"two\"],\"variantList2\":[true],"
         "\"variantList3\":[3,\"33\"],\"variantList4\":[4.5],"
         "\"variantList5\":[\"five\",5,[\"v\",\"w\"]]}";

#endif
