// SPDX-License-Identifier: MIT
#ifndef IHNIPCIOEXPD_H
#define IHNIPCIOEXPD_H

#include <hnipc/hnipcserver.h>

/**
 * The I/O-expander daemon: front-panel buttons, audio amplifier, display backlight.
 *
 * Construct the object once, in the thread whose event loop serves its calls. Every slot is a
 * method of the interface on the bus. The operations are the daemon's to implement. The pulse
 * operations each send one signal of the interface to all clients; they answer false when it could
 * not be queued for sending, and may be called over the bus too.
 */
class HNIPC_EXPORT IHNIPCIOEXPD : public HNIPCServer
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "local.IHNIPCIOEXPD")

public:
    /// Claims org.hnipc.ioexpd and exports the object, as HNIPCServer says.
    explicit IHNIPCIOEXPD(QObject *parent = nullptr) : HNIPCServer(HNIPCServer::IOEXPD, parent) {}
    virtual ~IHNIPCIOEXPD() {}

public Q_SLOTS:
    /// @name Events
    /// @{

    /// The cancel button was pressed.
    Q_SCRIPTABLE bool pulseCancelButtonSignal();
    /// The help button was pressed.
    Q_SCRIPTABLE bool pulseHelpButtonSignal();
    /// The print button was pressed.
    Q_SCRIPTABLE bool pulsePrintButtonSignal();
    /// @}

    /// @name Operations
    /// @{

    /// Switches the audio amplifier on (true) or off.
    virtual Q_SCRIPTABLE void enableAudioAmp(bool value) = 0;
    /// Switches the display backlight on (true) or off.
    virtual Q_SCRIPTABLE void enableBacklight(bool value) = 0;
    /// Passes a cancel request to the daemon.
    virtual Q_SCRIPTABLE void printerSoftCancel() = 0;
    /// @}

private:
    Q_DISABLE_COPY(IHNIPCIOEXPD)
};

#endif
