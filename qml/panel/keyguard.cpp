// SPDX-License-Identifier: MIT
#include "keyguard.h"

#include <QtCore/QCoreApplication>
#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>

static const int burst = 120; // ms between two keys: people are slower, scanners are faster
static const int afterText = 1000;

static bool movesFocus(int key)
{
    switch (key) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Escape:
        return true;
    default:
        return false;
    }
}

static bool isModifier(int key)
{
    switch (key) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Meta:
        return true;
    default:
        return false;
    }
}

static bool isText(const QKeyEvent &event)
{
    return !event.text().isEmpty() && event.text().at(0).category() != QChar::Other_Control
        && event.key() != Qt::Key_Space;
}

void KeyGuard::Moment::set(const QKeyEvent &event)
{
    clock.start();
    timestamp = ulong(event.timestamp());
}

// While the program is busy, keys wait, so the clock shows a later time than that of the key. If the
// window system has a time for the key, that is used, too.
bool KeyGuard::Moment::isWithin(int milliseconds, const QKeyEvent &later) const
{
    const ulong now = ulong(later.timestamp());
    return clock.isValid()
        && (clock.elapsed() < milliseconds
            || (timestamp && now && now - timestamp < ulong(milliseconds)));
}

KeyGuard::KeyGuard(QObject *window) : QObject(window)
{
    m_pause.setSingleShot(true);
    m_pause.setInterval(burst);
    // Keys that were pressed while the program was busy are processed first.
    m_turn.setSingleShot(true);
    m_turn.setInterval(0);
    connect(&m_pause, &QTimer::timeout, &m_turn, QOverload<>::of(&QTimer::start));
    connect(&m_turn, &QTimer::timeout, this, &KeyGuard::deliver);
    window->installEventFilter(this);
}

bool KeyGuard::eventFilter(QObject *watched, QEvent *event)
{
    if (!m_isDelivering && event->type() == QEvent::KeyPress) {
        const auto &key = *static_cast<QKeyEvent *>(event);
        const bool stays = onPress(key);
        if (!stays) {
            m_letThrough += key.key();
        }
        return stays;
    }
    if (!m_isDelivering && event->type() == QEvent::KeyRelease) {
        return !m_letThrough.remove(static_cast<QKeyEvent *>(event)->key());
    }
    return QObject::eventFilter(watched, event);
}

// Returns true if the key is dropped or delayed.
bool KeyGuard::onPress(const QKeyEvent &event)
{
    if (isModifier(event.key())) { // does not count: people press the next key as quickly
        drop();
        return true;
    }
    const bool isInBurst = m_press.isWithin(burst, event);
    const bool isAfterText = m_text.isWithin(afterText, event);
    m_press.set(event);
    if (isText(event)) {
        m_text.set(event);
    }
    if (isText(event) || isAfterText) {
        drop();
        return true;
    }
    if (movesFocus(event.key())) {
        if (!event.isAutoRepeat()) {
            drop();
        }
        return false;
    }
    if (event.isAutoRepeat()) { // the key is held down
        return true;
    }
    drop();
    if (!isInBurst) {
        m_key = event.key();
        m_modifiers = event.modifiers();
        m_focus = QGuiApplication::focusObject();
        m_pause.start();
    }
    return true;
}

void KeyGuard::drop()
{
    m_pause.stop();
    m_turn.stop();
}

void KeyGuard::deliver()
{
    if (QGuiApplication::focusObject() != m_focus) { // the key would press another button
        return;
    }
    m_isDelivering = true;
    QKeyEvent press(QEvent::KeyPress, m_key, m_modifiers);
    QCoreApplication::sendEvent(parent(), &press);
    QKeyEvent release(QEvent::KeyRelease, m_key, m_modifiers);
    QCoreApplication::sendEvent(parent(), &release);
    m_isDelivering = false;
}
