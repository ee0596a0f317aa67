// The session-bus service io.github.quillet.Quillet: object /io/github/quillet/Quillet with the
// interface of the same name, its properties (Get, Set, GetAll, PropertiesChanged) and the
// methods Quit and ShowWindow. Every request goes through RemoteControl.
#pragma once

#include <QDBusVirtualObject>

class RemoteControl;

class DBusService final : public QDBusVirtualObject {
    Q_OBJECT
public:
    static constexpr const char* serviceName = "io.github.quillet.Quillet";
    static constexpr const char* objectPath = "/io/github/quillet/Quillet";
    static constexpr const char* interfaceName = "io.github.quillet.Quillet";

    explicit DBusService(RemoteControl& control, QObject* parent = nullptr);

    // Exports the object and asks for the name, without waiting for the bus to answer.
    void registerOnSessionBus();

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    bool handleProperties(const QDBusMessage& message, const QDBusConnection& connection);
    void announce(const QVariantMap& changed);

    RemoteControl& m_control;
};
