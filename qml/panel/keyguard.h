// SPDX-License-Identifier: MIT
#ifndef HNIPC_PANEL_KEYGUARD_H
#define HNIPC_PANEL_KEYGUARD_H

#include <QtCore/QElapsedTimer>
#include <QtCore/QEvent>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QTimer>

class QKeyEvent;

/// Keeps a window from what a barcode scanner types. A scanner is a keyboard to Qt: it sends its
/// letters in a burst, with Enter at the end, and Enter would press the button that has the focus.
///
/// Keys that press something wait until no other key has followed for 120 ms, and are dropped if the
/// focus is elsewhere by then; letters, digits and signs never arrive, nor does what follows one of them within a second. Keys that only move the
/// focus are let through at once outside of that second.
class KeyGuard : public QObject
{
    Q_OBJECT

public:
    /// Watches all keys of @p window, and belongs to it.
    explicit KeyGuard(QObject *window);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // When a key came, by the clock and by the window system.
    struct Moment
    {
        void set(const QKeyEvent &event);
        bool isWithin(int milliseconds, const QKeyEvent &later) const;

        QElapsedTimer clock;
        ulong timestamp = 0;
    };

    bool onPress(const QKeyEvent &event);
    void drop();
    void deliver();

    Moment m_press;
    Moment m_text;
    QTimer m_pause;
    QTimer m_turn;
    int m_key = 0; // that waits
    Qt::KeyboardModifiers m_modifiers;
    QPointer<QObject> m_focus; // where it was pressed
    QSet<int> m_letThrough;    // keys that are down
    bool m_isDelivering = false;
};

#endif
