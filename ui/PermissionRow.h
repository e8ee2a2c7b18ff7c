#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

namespace dowsel {

// One permission on the settings page: a status symbol (green check or orange warning), the
// title with a detail under it, and "Open Settings" while the permission is missing.
class PermissionRow final : public QWidget {
    Q_OBJECT
public:
    PermissionRow(const QString &title, QWidget *parent = nullptr);

    void setState(bool granted, const QString &detail);
    bool isGranted() const { return m_granted; }
    QString detail() const;

Q_SIGNALS:
    void openSettingsClicked();

private:
    QLabel *m_status;
    QLabel *m_detail;
    QPushButton *m_openSettings;
    bool m_granted = false;
};

} // namespace dowsel
