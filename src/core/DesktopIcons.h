// Hiding and showing the desktop icons, undoing only what this program did. The user's own
// style is recorded with the hide in a file of the support folder, so that a crash keeps it and
// the next launch can give it back.
#pragma once

#include "platform/DesktopIconsBackend.h"

#include <QObject>
#include <QString>
#include <deque>
#include <functional>

class DesktopIcons final : public QObject {
    Q_OBJECT
public:
    // `recordPath`: the file that holds the user's style while the icons are hidden by us.
    DesktopIcons(DesktopIconsBackend& backend, QString recordPath);

    void setHidden(bool hidden);
    // Gives the user's own style back if this program hid the icons (in this run or in one
    // that ended without restoring them).
    void restore();
    // True exactly when the last command given to the desktop was to hide the icons.
    bool didHide() const { return m_didHide; }

    // True while no command and no restart of the desktop program is under way.
    bool isSettled() const { return m_steps.empty() && !m_running && !m_restartWanted; }
    // False while a restarted desktop program is still starting: its settings must not change
    // then (xfdesktop can crash when pictures change while it loads them).
    bool isDesktopReady() const { return m_desktopReady; }
    // While held, commands still run but the restart they ask for waits for the release; the
    // quit sequence writes everything first and restarts the desktop program once, last.
    void holdRestarts() { m_restartsHeld = true; }
    // With `waitForReady` false the restart counts as done as soon as the new program is
    // started (it no longer depends on us).
    void releaseRestarts(bool waitForReady);
    // A restart waits while `mayRestart` says no (the desktop pictures are being changed: the
    // desktop program may crash when its settings change while it starts); resume() tries again.
    void setRestartGate(std::function<bool()> mayRestart) { m_mayRestart = std::move(mayRestart); }
    void resume() { runSteps(); }
    // True when only a held restart is left to do.
    bool onlyRestartLeft() const { return m_steps.empty() && !m_running; }

signals:
    void settled();
    void desktopReady();

private:
    using Step = std::function<void(std::function<void()> next)>;
    using Style = DesktopIconsBackend::Style;

    void enqueue(Step step);
    void runSteps();
    void startRestart();
    // Writes `style` (computed when the step runs) in place of the recorded one.
    void writeThenRestart(const std::function<Style()>& style, bool showsWithoutRecord);

    bool loadRecord();
    bool saveRecord(const Style& style);
    void removeRecord();

    DesktopIconsBackend& m_backend;
    QString m_recordPath;
    // The user's style, known while the icons are hidden by us.
    std::optional<Style> m_record;
    bool m_didHide = false;

    std::deque<Step> m_steps;
    bool m_running = false;
    bool m_inRunLoop = false;
    bool m_restartWanted = false;
    bool m_restartsHeld = false;
    std::function<bool()> m_mayRestart;
    bool m_waitForReady = true;
    bool m_waitingForDesktop = false;
    bool m_desktopReady = true;
    // Counts restarts so that a late answer of an abandoned one is ignored.
    int m_restartGeneration = 0;
};
