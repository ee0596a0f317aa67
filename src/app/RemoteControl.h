// What the command line and the D-Bus service may do: each request is one of the operations a
// click in the window or the tray menu makes, so storing, the master switch and restoring behave
// the same. Values from outside are checked first; a bad one changes nothing.
#pragma once

#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <functional>

class AppModel;
class Preferences;

class RemoteControl final : public QObject {
    Q_OBJECT
public:
    // `showWindow` opens the main window, `quit` starts the quit sequence.
    RemoteControl(AppModel& model, Preferences& preferences, std::function<void()> showWindow,
                  std::function<void()> quit, QObject* parent = nullptr);

    // The values published on D-Bus, by property name.
    QVariantMap properties() const;
    // Sets one property; returns an empty string when done, else why nothing changed.
    QString writeProperty(const QString& name, const QVariant& value);

    void setEnabled(bool enabled);
    void toggle();
    void showWindow();
    void quit();
    // The switch, the choices and the preferences, one "key: value" a line.
    QStringList statusLines() const;
    // A request from the command line ("enable", "status", …, or "reopen" from a plain second
    // launch); false for an unknown one. `lines` gets what the sender prints.
    bool handleRequest(const QString& request, QStringList& lines);

    // The properties each setter of the model may change, in the order of properties().
    static const QStringList& propertyNames();

signals:
    // Properties whose values differ from the last time this was emitted.
    void propertiesChanged(const QVariantMap& changed);

private:
    QString setHiddenItemLabels(const QStringList& labels);
    void publishChanges();

    AppModel& m_model;
    Preferences& m_preferences;
    std::function<void()> m_showWindow;
    std::function<void()> m_quit;
    QVariantMap m_published;
};
