#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

namespace dowsel {

// One permission on the settings page: a status symbol (green check or orange warning), the
// title with a detail under it, and a button to where it is granted ("Open Settings") while
// the permission is missing and the desktop has such a place.
class PermissionRow final : public QWidget {
    Q_OBJECT
public:
    PermissionRow(const QString &title, QWidget *parent = nullptr);

    void setState(bool granted, const QString &detail);
    void setActionTitle(const QString &title);
    void setActionAvailable(bool available);
    bool isGranted() const { return m_granted; }
    QString detail() const;

Q_SIGNALS:
    void openSettingsClicked();

private:
    QLabel *m_status;
    QLabel *m_detail;
    QPushButton *m_openSettings;
    bool m_granted = false;
    bool m_actionAvailable = true;
};

} // namespace dowsel
