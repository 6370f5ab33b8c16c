// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_ENGINE_H
#define HNIPC_SIMULATOR_ENGINE_H

#include "readings.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QMap>
#include <QtCore/QQueue>
#include <QtCore/QTimer>

/// The print engine: its sensors, motors, queue and errors. The manual page lists units and codes.
class Engine : public Readings
{
public:
    enum {
        // clang-format off
        Error, Alert, BatteryStatus, M4Version,
        Dac0, BMark, Gap, PreCutter, SupplySensor,
        RibbonClr1, RibbonClr2, RibbonEnc1, RibbonEnc2, RibbonEnc3, RibbonEnc4,
        Film1Tach, Film2Tach, Film3Tach, Film4Tach,
        CutterCover, CutterHome, PrinterLid, SupplyLatch,
        Ribbon1Verify, Ribbon2Verify, Ribbon1Mileage, Ribbon2Mileage, SupplyMileage,
        Tph1Therm, Tph2Therm, Tph1HeatIndexOffset, Tph2HeatIndexOffset,
        Tach1Tension, Tach2Tension, Tach3Tension, Tach4Tension,
        SupplyID, RibbonIDs, SupplyUID, Ribbon1UID, Ribbon2UID,
        ClearTailRibbon1, ClearTailRibbon2, SupplyWidth, SupplyLED,
        Solenoid1, Solenoid2, Solenoid3, Solenoid4, Ribbon1, Ribbon2
    };
    // clang-format on
    enum Status { UnknownPrinter, Ready, Printing, Stopped, Faulty };
    static const int QueueCapacity = 8;

    Engine();

    Status status(const QString &printerName) const;
    /// Sets the error or alert code from outside. 0 removes it, so that the engine's own code is
    /// shown again.
    bool handOver(int errorOrAlert, int value);

    // The following functions return whether the engine carries out the command.

    // Motion: false while the lid, the cutter cover or the latch is open
    bool forwardFeed(quint32 steps);
    bool backwardFeed(quint32 steps);
    bool cycleCutter();
    bool resetCutter();
    bool calibrate();
    bool engage(int solenoidOrRibbon);
    bool resetMotors();
    bool reset();

    // The queue. The current job is the oldest one.
    bool print(uint labels);
    bool cancelJob();
    bool retryJob();
    bool clearJob();
    bool clearAllJobs();

    // Settings, sensors and tags
    bool setSetting(int setting, int value);
    bool refreshSettings();
    bool refreshSensors();
    bool readTags();
    QString dump() const;

protected:
    void wasSet(int reading) override;

private:
    bool isOpen() const;
    int standingCode(int errorOrAlert) const;
    bool hasFault() const;
    bool clear(int jobs);
    void startJob();
    void printDueLabels();
    void printLabel();
    void moveForward(qint64 steps);
    void move(int mileage, qint64 steps);

    int m_handedOver[2] = {}; // Error, Alert
    QMap<int, int> m_settings;
    QQueue<uint> m_jobs; // labels still to print
    bool m_stopped = false;
    int m_completed = 0;
    qint64 m_looseSteps[3] = {}; // less than a millimetre each, in the order of the mileages
    QTimer m_labelTimer;
    QDeadlineTimer m_nextLabel;
    QTimer m_cutterTimer;
};

#endif
