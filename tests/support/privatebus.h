// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_PRIVATEBUS_H
#define HNIPC_TESTS_PRIVATEBUS_H

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtTest/QTest>

// A message bus of the test program's own that plays the system bus while the object lives. It has
// to be made before the first Qt connection. The session bus is made unreachable, so that traffic
// that goes to the wrong bus fails.
class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus();

    QByteArray address() const;

private:
    Q_DISABLE_COPY(PrivateBus)

    struct Private;
    Private *d;
};

#define HNIPC_TEST_MAIN(TestClass)                                                                 \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        PrivateBus bus;                                                                            \
        QCoreApplication application(argc, argv);                                                  \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }

#endif
