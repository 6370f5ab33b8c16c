// SPDX-License-Identifier: MIT
#include "engine.h"

#include "printer.h"

#include <algorithm>
#include <climits>

namespace {

const int stepsPerMillimetre = 8;
const int millisecondsPerLabel = 50;
const int millisecondsPerCut = 200;
const int cutSetting = 4;

// In the order of the enumeration.
const std::vector<Reading> &table()
{
    static const std::vector<Reading> result = {
        { "error", 0, "Error" },
        { "alert", 0, "Alert" },
        { "batteryStatus", 87, "M4BatteryUpdate" },
        { "m4Version", QStringLiteral("4.2.1-simulated"), "M4Version" },

        { "dac0", 2048u, "M4Dac0" },
        { "bMark", 310u, "M4BMark", 0, 6 },
        { "gap", 1720u, "M4Gap", 0, 12 },
        { "preCutter", 940u, "M4PreCutter", 0, 6 },
        { "supplySensor", Printer::supplyThere, "M4SupplySensor", 0, 12 },

        { "ribbonClr1", Printer::ribbonThere, "M4RibbonClr1", 0, 6 },
        { "ribbonClr2", Printer::ribbonThere, "M4RibbonClr2", 0, 6 },
        { "ribbonEnc1", 1024u, "M4RibbonEnc1", 0, 8 },
        { "ribbonEnc2", 1530u, "M4RibbonEnc2", 0, 8 },
        { "ribbonEnc3", 996u, "M4RibbonEnc3", 0, 8 },
        { "ribbonEnc4", 1488u, "M4RibbonEnc4", 0, 8 },

        { "film1Tach", 612u, "M4Film1Tach", 0, 8 },
        { "film2Tach", 598u, "M4Film2Tach", 0, 8 },
        { "film3Tach", 605u, "M4Film3Tach", 0, 8 },
        { "film4Tach", 621u, "M4Film4Tach", 0, 8 },

        { "cutterCover", false, "M4CutterCover" },
        { "cutterHome", true, "M4CutterHome" },
        { "printerLid", false, "M4PrinterLid" },
        { "supplyLatch", false, "M4SupplyLatch" },

        { "ribbon1Verify", Q_UINT64_C(0x9e3779b97f4a7c15), "M4RibbonVerify1" },
        { "ribbon2Verify", Q_UINT64_C(0xc2b2ae3d27d4eb4f), "M4RibbonVerify2" },
        { "ribbon1Mileage", 0, "M4Ribbon1Mileage" },
        { "ribbon2Mileage", 0, "M4Ribbon2Mileage" },
        { "supplyMileage", 0, "M4SupplyMileage" },

        { "tph1Therm", 284, "M4TphTherm", 1, 8 },
        { "tph2Therm", 279, "M4TphTherm", 2, 8 },
        { "tph1HeatIndexOffset", -3, "M4TphHeatIndexOffset", 1, 3 },
        { "tph2HeatIndexOffset", 2, "M4TphHeatIndexOffset", 2, 3 },
        { "tach1Tension", 310, "M4TachIndex", 1, 12 },
        { "tach2Tension", 324, "M4TachIndex", 2, 12 },
        { "tach3Tension", 305, "M4TachIndex", 3, 12 },
        { "tach4Tension", 331, "M4TachIndex", 4, 12 },

        { "supplyID", QString(), "M4SupplyID" },
        { "ribbonIDs", QStringList(), "M4RibbonIDs" },
        { "supplyUID", QString(), "M4SupplyUID" },
        { "ribbon1UID", QString(), "M4Ribbon1UID" },
        { "ribbon2UID", QString(), "M4Ribbon2UID" },

        { "clearTailRibbon1", false },
        { "clearTailRibbon2", false },
        { "supplyWidth", false },
        { "supplyLED", true },
        { "solenoid1", false },
        { "solenoid2", false },
        { "solenoid3", false },
        { "solenoid4", false },
        { "ribbon1", true },
        { "ribbon2", true },
    };
    return result;
}

// A state of a reading that has an error or alert code.
struct Condition
{
    int cause;
    int effect; // Engine::Error stops the job, Engine::Alert does not
    int code;
    bool (*holds)(const QVariant &value);
    const char *signal = nullptr; // emitted for this condition only
};

bool isActive(const QVariant &value) { return value.toBool(); }
bool isNothing(const QVariant &value) { return value.toUInt() == Printer::supplyGone; }
bool isClear(const QVariant &value) { return value.toUInt() >= 3500; }
bool isHot(const QVariant &value) { return value.toInt() >= 700; }
bool isLow(const QVariant &value) { return value.toInt() <= 15; }

const Condition conditions[] = {
    { Engine::PrinterLid, Engine::Error, 10, isActive },
    { Engine::CutterCover, Engine::Error, 11, isActive },
    { Engine::SupplyLatch, Engine::Error, 12, isActive },
    { Engine::SupplySensor, Engine::Error, 20, isNothing },
    { Engine::RibbonClr1, Engine::Error, 21, isClear },
    { Engine::RibbonClr2, Engine::Error, 22, isClear },
    { Engine::Tph1Therm, Engine::Error, 31, isHot, "M4Tph1Fault" },
    { Engine::Tph2Therm, Engine::Error, 32, isHot, "M4Tph2Fault" },
    { Engine::BatteryStatus, Engine::Alert, 1, isLow },
};

// The code of the first condition that has this effect and holds; 0 for none.
int ownCode(const Engine &engine, int effect)
{
    for (const Condition &condition : conditions) {
        if (condition.effect == effect && condition.holds(engine.value(condition.cause))) {
            return condition.code;
        }
    }
    return 0;
}

} // namespace

Engine::Engine()
    : Readings(table()),
      m_settings({ { 1, 0 }, { 2, 100 }, { Printer::labelLengthSetting, 60 }, { cutSetting, 1 } })
{
    m_labelTimer.setInterval(millisecondsPerLabel);
    connect(&m_labelTimer, &QTimer::timeout, this, &Engine::printDueLabels);
    m_cutterTimer.setInterval(millisecondsPerCut);
    m_cutterTimer.setSingleShot(true);
    connect(&m_cutterTimer, &QTimer::timeout, this, [this]() { change(CutterHome, true); });
}

// ---- Codes ----

void Engine::wasSet(int reading)
{
    for (const Condition &condition : conditions) {
        if (condition.cause != reading) {
            continue;
        }
        if (condition.holds(value(reading))) {
            m_stopped = m_stopped || (condition.effect == Error && !m_jobs.isEmpty());
            if (get<int>(condition.effect) != condition.code) {
                set(condition.effect, condition.code);
                if (condition.signal) {
                    Q_EMIT announced(QLatin1String(condition.signal), {});
                }
            }
        } else if (get<int>(condition.effect) == condition.code) {
            set(condition.effect, standingCode(condition.effect));
        }
    }
}

bool Engine::handOver(int errorOrAlert, int value)
{
    m_handedOver[errorOrAlert] = value;
    return set(errorOrAlert, value ? value : standingCode(errorOrAlert));
}

// The engine's own code, otherwise the code that was set by emitError() or emitAlert().
int Engine::standingCode(int errorOrAlert) const
{
    const int own = ownCode(*this, errorOrAlert);
    return own ? own : m_handedOver[errorOrAlert];
}

bool Engine::isOpen() const
{
    return get<bool>(PrinterLid) || get<bool>(CutterCover) || get<bool>(SupplyLatch);
}

bool Engine::hasFault() const { return ownCode(*this, Error) != 0; }

Engine::Status Engine::status(const QString &printerName) const
{
    if (!Printer::isCalled(printerName)) {
        return UnknownPrinter;
    }
    if (get<int>(Error) != 0) {
        return Faulty;
    }
    return m_jobs.isEmpty() ? Ready : m_stopped ? Stopped : Printing;
}

// ---- Motion ----

bool Engine::forwardFeed(quint32 steps)
{
    if (isOpen()) {
        return false;
    }
    moveForward(steps);
    return true;
}

bool Engine::backwardFeed(quint32 steps)
{
    if (isOpen()) {
        return false;
    }
    move(SupplyMileage, -static_cast<qint64>(steps));
    return true;
}

// A ribbon moves if its unit is set and, according to the tags, a ribbon is loaded.
void Engine::moveForward(qint64 steps)
{
    move(SupplyMileage, steps);
    const auto ribbons = get<QStringList>(RibbonIDs).size();
    for (int i = 0; i < 2; ++i) {
        if (get<bool>(Ribbon1 + i) && (ribbons == 0 || ribbons > i)) {
            move(Ribbon1Mileage + i, steps);
        }
    }
}

// Steps of less than a millimetre are kept for the next motion.
void Engine::move(int mileage, qint64 steps)
{
    qint64 &loose = m_looseSteps[mileage - Ribbon1Mileage];
    loose += steps;
    const qint64 moved = get<int>(mileage) + loose / stepsPerMillimetre;
    loose %= stepsPerMillimetre;
    change(mileage, static_cast<int>(std::clamp<qint64>(moved, 0, INT_MAX)));
}

bool Engine::cycleCutter()
{
    if (isOpen() || !get<bool>(CutterHome)) {
        return false;
    }
    set(CutterHome, false);
    m_cutterTimer.start();
    return true;
}

// The cutter reaches its home position from any position.
bool Engine::resetCutter()
{
    if (isOpen()) {
        return false;
    }
    m_cutterTimer.stop();
    return set(CutterHome, true);
}

bool Engine::calibrate()
{
    return !isOpen() && measure(BMark) && measure(Gap) && measure(SupplySensor);
}

bool Engine::engage(int solenoidOrRibbon) { return !isOpen() && set(solenoidOrRibbon, true); }

bool Engine::resetMotors()
{
    std::fill_n(m_looseSteps, 3, 0);
    return true;
}

// As after switching on, but the settings are kept, and an open lid, cover or latch stays open.
bool Engine::reset()
{
    clearAllJobs();
    resetCutter();
    for (int solenoid = Solenoid1; solenoid <= Solenoid4; ++solenoid) {
        set(solenoid, false);
    }
    set(Ribbon1, true);
    set(Ribbon2, true);
    resetMotors();
    return handOver(Error, 0) && handOver(Alert, 0);
}

// ---- The queue ----

bool Engine::print(uint labels)
{
    if (labels == 0 || m_jobs.size() >= QueueCapacity) {
        return false;
    }
    m_jobs.enqueue(labels);
    if (m_jobs.size() == 1) {
        startJob();
    }
    if (m_jobs.size() == QueueCapacity) {
        Q_EMIT announced(QStringLiteral("PrintQueueFull"), { QueueCapacity });
    }
    return true;
}

void Engine::startJob()
{
    m_stopped = hasFault();
    m_labelTimer.start();
    m_nextLabel.setRemainingTime(millisecondsPerLabel);
}

// On a busy machine, several labels may be due.
void Engine::printDueLabels()
{
    while (m_nextLabel.hasExpired() && m_labelTimer.isActive()) {
        m_nextLabel += millisecondsPerLabel;
        printLabel();
    }
}

void Engine::printLabel()
{
    if (m_stopped || !get<bool>(CutterHome)) {
        return;
    }
    const qint64 length = qMax(0, m_settings.value(Printer::labelLengthSetting));
    moveForward(length * stepsPerMillimetre);
    Q_EMIT announced(QStringLiteral("M4PrintDone"), {});
    if (--m_jobs.head() > 0) {
        return;
    }
    m_jobs.dequeue();
    ++m_completed;
    if (m_settings.value(cutSetting) != 0) {
        cycleCutter();
    }
    if (m_jobs.isEmpty()) {
        m_labelTimer.stop();
        Q_EMIT announced(QStringLiteral("PrintQueueComplete"), { m_completed });
        m_completed = 0;
    }
}

bool Engine::cancelJob()
{
    if (m_jobs.isEmpty() || m_stopped) {
        return false;
    }
    m_stopped = true;
    return true;
}

bool Engine::retryJob()
{
    if (m_jobs.isEmpty() || !m_stopped || hasFault()) {
        return false;
    }
    m_stopped = false;
    return true;
}

bool Engine::clearJob() { return clear(1); }

bool Engine::clearAllJobs() { return clear(QueueCapacity); }

bool Engine::clear(int jobs)
{
    if (m_jobs.isEmpty()) {
        return false;
    }
    for (; jobs > 0 && !m_jobs.isEmpty(); --jobs) {
        m_jobs.dequeue();
    }
    if (!m_jobs.isEmpty()) {
        startJob();
        return true;
    }
    m_labelTimer.stop();
    m_stopped = false;
    m_completed = 0;
    Q_EMIT announced(QStringLiteral("PrintQueueClear"), { 0 });
    return true;
}

// ---- Settings, sensors and tags ----

bool Engine::setSetting(int setting, int value)
{
    m_settings[setting] = value;
    Q_EMIT announced(QStringLiteral("M4UserSetting"), { setting, value });
    return true;
}

bool Engine::refreshSettings()
{
    for (auto it = m_settings.cbegin(); it != m_settings.cend(); ++it) {
        Q_EMIT announced(QStringLiteral("M4UserSetting"), { it.key(), it.value() });
    }
    return tell(Dac0);
}

bool Engine::refreshSensors()
{
    for (int sensor = BMark; sensor <= Film4Tach; ++sensor) {
        measure(sensor);
    }
    for (int sensor = CutterCover; sensor <= SupplyLatch; ++sensor) {
        tell(sensor);
    }
    QStringList tensions;
    for (int sensor = Tach1Tension; sensor <= Tach4Tension; ++sensor) {
        measure(sensor);
        tensions += QString::number(get<int>(sensor));
    }
    Q_EMIT announced(QStringLiteral("M4TachValues"), { tensions.join(QLatin1Char(' ')) });
    return true;
}

bool Engine::readTags()
{
    for (int tag = SupplyID; tag <= Ribbon2UID; ++tag) {
        tell(tag);
    }
    return true;
}

QString Engine::dump() const
{
    QString result;
    for (auto it = m_settings.cbegin(); it != m_settings.cend(); ++it) {
        result += QStringLiteral("user setting %1: %2\n").arg(it.key()).arg(it.value());
    }
    for (int reading : { Dac0, ClearTailRibbon1, ClearTailRibbon2, SupplyWidth, SupplyLED }) {
        result += QStringLiteral("%1: %2\n").arg(names().at(reading), value(reading).toString());
    }
    return result;
}
