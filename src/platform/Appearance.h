// Light or dark appearance of the desktop, and its change notification.
#pragma once

#include <QObject>

class Appearance : public QObject {
    Q_OBJECT
public:
    virtual bool isDark() const = 0;

signals:
    void appearanceChanged();
};
