// Tray icon and menu.
#include "StatusItemController.h"

#include "AppIcon.h"
#include "core/AppModel.h"

#include <QApplication>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QThread>

StatusItemController::StatusItemController(std::function<AppModel&()> model, QObject* parent)
    : QObject(parent), m_model(std::move(model))
{
}

StatusItemController::~StatusItemController() = default;

StatusItemController& StatusItemController::shared()
{
    static auto* controller =
        new StatusItemController([]() -> AppModel& { return AppModel::shared(); });
    return *controller;
}

void StatusItemController::setVisible(bool visible)
{
    if (!visible) {
        if (!m_item)
            return;
        m_item->hide();
        m_item.reset();
        m_menu.reset();
        return;
    }
    if (m_item)
        return;

    m_item = std::make_unique<QSystemTrayIcon>(trayIcon());
    m_item->setToolTip(tr("Quillet"));
    m_menu = std::make_unique<QMenu>();
    m_menu->setTitle(tr("Quillet"));
    QAction* enabled =
        m_menu->addAction(tr("&Enabled"), this, &StatusItemController::toggleEnabled);
    enabled->setCheckable(true);
    m_menu->addSeparator();
    m_menu->addAction(tr("&Show Window"), this, &StatusItemController::showWindow);
    m_menu->addSeparator();
    QAction* quitAction = m_menu->addAction(tr("&Quit Quillet"), this, &StatusItemController::quit);
    quitAction->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    m_enabledItem = enabled;
    connect(m_menu.get(), &QMenu::aboutToShow, this, &StatusItemController::menuNeedsUpdate);
    m_item->setContextMenu(m_menu.get());
    // A left click opens the same menu, as a click on a status item does.
    connect(m_item.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger && m_menu)
                    m_menu->popup(QCursor::pos());
            });
    m_item->show();
}

bool StatusItemController::isShown() const
{
    // Not QSystemTrayIcon::isSystemTrayAvailable(): it asks the session bus and waits for the
    // answer. An icon shown before a notification area exists docks when one appears.
    return m_item && m_item->isVisible();
}

void StatusItemController::menuNeedsUpdate()
{
    Q_ASSERT(QThread::currentThread() == qApp->thread());
    if (m_enabledItem)
        m_enabledItem->setChecked(m_model().enabled());
}

void StatusItemController::toggleEnabled()
{
    AppModel& model = m_model();
    model.setEnabled(!model.enabled());
}

void StatusItemController::showWindow()
{
    emit showWindowRequested();
}

void StatusItemController::quit()
{
    QCoreApplication::quit();
}
