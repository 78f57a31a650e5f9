#pragma once

#include "controller/controller_parts.h"

#include <QIcon>
#include <QObject>

class QMenu;
class QSystemTrayIcon;

// The tray icon: its picture follows the refresh phase, a left click opens or closes the panel,
// and a right click offers the few things a tray utility is expected to offer.
class MenuBarLabel : public QObject
{
    Q_OBJECT

public:
    enum class Image {
        brand,
        planWaiting,
        busy,
    };

    explicit MenuBarLabel(const ControllerParts& parts, QObject* parent = nullptr);
    ~MenuBarLabel() override;

    Image image() const;
    QSystemTrayIcon* trayIcon() const;
    QMenu* contextMenu() const;
    // One colour, offered by its theme name; the drawing is for trays that take pixels.
    static QIcon render(Image image);

Q_SIGNALS:
    // A left click; `anchor` is where the icon is on screen, when the tray says.
    void panelToggled(const QRect& anchor);
    void panelRequested();
    void windowRequested(const QString& id);
    void quitRequested();

private:
    void updateImage();

    ControllerParts m_parts;
    QSystemTrayIcon* m_tray;
    QMenu* m_menu;
    Image m_image = Image::brand;
};
