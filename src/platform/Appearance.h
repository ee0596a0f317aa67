// Light or dark appearance of the desktop, and its change notification.
#pragma once

#include <QObject>
#include <functional>

class Appearance : public QObject {
    Q_OBJECT
public:
    // May wait on other processes (a bus call, a child process): not for the UI thread.
    virtual bool isDark() const = 0;
    // The same question without waiting: `done` runs later on this thread's event loop, unless
    // `context` is gone by then.
    virtual void queryDark(QObject* context, std::function<void(bool dark)> done)
    {
        Q_UNUSED(context);
        done(isDark());
    }
    // What the desktop's own settings tell at once, before any other process answers; a
    // later answer of queryDark() may differ.
    virtual bool quickGuessDark() const { return isDark(); }

signals:
    void appearanceChanged();
};
