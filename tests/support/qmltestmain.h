// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_QMLTESTMAIN_H
#define HNIPC_TESTS_QMLTESTMAIN_H

#include "privatebus.h"

#include <QtGui/QGuiApplication>
#include <QtTest/QTest>

// The main() of a test with QML, which draws without a display.
#define HNIPC_QML_TEST_MAIN(TestClass)                                                             \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        PrivateBus bus;                                                                            \
        qputenv("QT_QPA_PLATFORM", "offscreen");                                                   \
        qputenv("QT_QUICK_BACKEND", "software");                                                   \
        QGuiApplication application(argc, argv);                                                   \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }

#endif
