#include "ui/BacklogPage.h"

#include "core/ByteCount.h"
#include "ui/model/PopoverLists.h"

#include <QDateTime>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QLocale>
#include <QPushButton>
#include <QSet>
#include <QVBoxLayout>

namespace dowsel {

namespace {

constexpr int idRole = Qt::UserRole + 1;
constexpr int bytesRole = Qt::UserRole + 2;

} // namespace

BacklogPage::BacklogPage(QWidget *parent)
    : QWidget(parent),
      m_list(new QListWidget(this)),
      m_total(new QLabel(this)),
      m_makeTemporary(new QPushButton(tr("Make temporary"), this)),
      m_trash(new QPushButton(tr("Move to Trash"), this))
{
    setObjectName(QStringLiteral("backlogPage"));
    m_list->setObjectName(QStringLiteral("backlogList"));
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setTextElideMode(Qt::ElideMiddle);
    m_total->setObjectName(QStringLiteral("backlogTotal"));
    m_makeTemporary->setObjectName(QStringLiteral("backlogMakeTemporary"));
    m_makeTemporary->setToolTip(tr("They go to the Trash when the default expiry passes"));
    m_trash->setObjectName(QStringLiteral("backlogTrash"));

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_makeTemporary);
    buttons->addWidget(m_trash);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 4, 12, 10);
    layout->addWidget(m_list, 1);
    layout->addWidget(m_total);
    layout->addLayout(buttons);

    connect(m_list, &QListWidget::itemChanged, this, &BacklogPage::updateTotal);
    connect(m_makeTemporary, &QPushButton::clicked, this, [this] { Q_EMIT makeTemporaryRequested(checkedIds()); });
    connect(m_trash, &QPushButton::clicked, this, [this] { Q_EMIT trashRequested(checkedIds()); });
    updateTotal();
}

void BacklogPage::setFiles(const std::vector<BacklogFile> &files)
{
    QSet<qint64> unchecked;
    for (int row = 0; row < m_list->count(); ++row) {
        const QListWidgetItem *item = m_list->item(row);
        if (item->checkState() != Qt::Checked)
            unchecked.insert(item->data(idRole).toLongLong());
    }
    const QSignalBlocker blocker(m_list);
    m_list->clear();
    const QLocale locale;
    for (const BacklogFile &file : files) {
        const QString since = locale.toString(QDateTime::fromSecsSinceEpoch(qint64(file.since)).date(),
                                              QLocale::ShortFormat);
        auto *item = new QListWidgetItem(displayText(file.record.fileName) + QStringLiteral("\n")
                                             + formatByteCount(file.bytes) + QStringLiteral(" · ") + since,
                                         m_list);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
        item->setCheckState(unchecked.contains(file.record.id) ? Qt::Unchecked : Qt::Checked);
        item->setData(idRole, qint64(file.record.id));
        item->setData(bytesRole, qint64(file.bytes));
        item->setToolTip(displayText(file.record.filePath));
    }
    updateTotal();
}

std::vector<RecordId> BacklogPage::checkedIds() const
{
    std::vector<RecordId> ids;
    for (int row = 0; row < m_list->count(); ++row) {
        const QListWidgetItem *item = m_list->item(row);
        if (item->checkState() == Qt::Checked)
            ids.push_back(item->data(idRole).toLongLong());
    }
    return ids;
}

void BacklogPage::updateTotal()
{
    int count = 0;
    qint64 bytes = 0;
    for (int row = 0; row < m_list->count(); ++row) {
        const QListWidgetItem *item = m_list->item(row);
        if (item->checkState() == Qt::Checked) {
            ++count;
            bytes += item->data(bytesRole).toLongLong();
        }
    }
    m_total->setText(tr("%n file(s) selected, %1 in all", nullptr, count).arg(formatByteCount(bytes)));
    m_makeTemporary->setEnabled(count > 0);
    m_trash->setEnabled(count > 0);
}

} // namespace dowsel
