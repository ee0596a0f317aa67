// The optional tray icon with its menu: "Enabled", "Show Window", "Quit Quillet".
#pragma once

#include <QObject>
#include <QPointer>
#include <functional>
#include <memory>

class AppModel;
class QAction;
class QMenu;
class QSystemTrayIcon;

class StatusItemController final : public QObject {
    Q_OBJECT
public:
    // `model` is looked up when needed, so the model is built on first use as elsewhere.
    explicit StatusItemController(std::function<AppModel&()> model, QObject* parent = nullptr);
    ~StatusItemController() override;

    static StatusItemController& shared();

    // Creates or removes the tray icon; a removed one is rebuilt from scratch when shown again.
    void setVisible(bool visible);

    // True while the tray icon is shown: the user then has a handle on the program without its
    // main window.
    bool isShown() const;

    QSystemTrayIcon* item() const { return m_item.get(); }
    QAction* enabledItem() const { return m_enabledItem; }
    QMenu* menu() const { return m_menu.get(); }

    void toggleEnabled();
    void showWindow();
    void quit();
    // Called just before the menu opens: the check mark shows the master switch as it is.
    void menuNeedsUpdate();

signals:
    // "Show Window" was chosen: the shell raises the main window, reopening it if closed.
    void showWindowRequested();

private:
    std::function<AppModel&()> m_model;
    std::unique_ptr<QSystemTrayIcon> m_item;
    std::unique_ptr<QMenu> m_menu;
    QPointer<QAction> m_enabledItem;
};
