// What the running desktop lets the program change (its pictures, its icons), which program
// draws it, and word when that changes: a desktop program that starts late, dies or restarts
// hands the desktop to another backend, and the user's choices are to be shown again.
#pragma once

#include <QObject>
#include <QString>

class DesktopSupport : public QObject {
    Q_OBJECT
public:
    struct State {
        // The desktop as users name it ("Xfce", "MATE", "Openbox"); empty when unknown.
        QString desktop;
        // The program that draws the desktop over the root window ("caja"); empty when the
        // root window itself shows.
        QString drawnBy;
        // Desktop pictures can be set, and desktop icons hidden, on this desktop now.
        bool pictures = false;
        bool icons = false;
        // Why not, in a few words for the user ("caja draws the desktop"); empty when both work.
        QString picturesGap;
        QString iconsGap;
        // Where pictures reach only part of the desktop: which part keeps its own, in a few
        // words for the user; empty when they reach all of it.
        QString picturesLimit;
        // Why the panel cover ("Hide bar", "Hide items") cannot work here (a panel the desktop's
        // shell draws itself); empty where it can.
        QString coverGap;
        // Why "Hide items" alone cannot work here (a panel that does not tell where its tray
        // icons are); empty where it can.
        QString itemsGap;
        bool operator==(const State&) const = default;
    };

    // The degraded desktop: nothing can be changed, and it never changes.
    DesktopSupport() = default;
    virtual State state() const
    {
        State none;
        none.picturesGap = QStringLiteral("this session has no X11 desktop");
        none.iconsGap = none.picturesGap;
        return none;
    }
    // Waits (bounded) until the first look at the desktop has been taken and state() tells
    // what it found, so a window shown next shows the right explanations from its first paint.
    virtual void awaitFirstLook() {}

signals:
    // Another backend took the desktop over (or none is left): what the user chose is to be
    // applied again through it.
    void backendChanged();
    // state() may say something else now.
    void stateChanged();
};
