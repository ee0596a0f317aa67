// Desktop icons on Xfce: xfdesktop's icon style in xfconf, and a restart of xfdesktop that does
// not depend on this process surviving it.
#pragma once

#include "platform/DesktopIconsBackend.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QTimer>

class XfceDesktopIcons final : public QObject, public DesktopIconsBackend {
    Q_OBJECT
public:
    XfceDesktopIcons();

    // True when xfdesktop runs on this session bus.
    static bool isRunning();
    // True when the xfconf daemon that keeps xfdesktop's settings runs on this session bus.
    static bool settingsReachable();

    Style hiddenStyle() const override { return 0; }
    Style shownStyle() const override { return 2; }
    void readStyle(std::function<void(ReadResult)> done) override;
    void writeStyle(Style style, std::function<void(bool written)> done) override;
    void restartDesktop(std::function<void()> ready) override;

private:
    void checkReady();

    QTimer m_readyPoll;
    QDeadlineTimer m_readyDeadline;
    std::function<void()> m_ready;
    qint64 m_oldDesktopPid = 0;
    quint32 m_oldRootPixmap = 0;
};
