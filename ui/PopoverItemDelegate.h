#pragma once

#include <QHash>
#include <QIcon>
#include <QImage>
#include <QSet>
#include <QStyledItemDelegate>

namespace dowsel {

class Preferences;
class ThumbnailCache;

// Draws the popover's rows and section headers and turns clicks on their parts into signals.
// Nothing here touches the disk: a file's picture comes from the thumbnail service (off the
// main thread), and until it has one, from the file name's type and the icon theme.
class PopoverItemDelegate final : public QStyledItemDelegate {
    Q_OBJECT
public:
    explicit PopoverItemDelegate(const Preferences &prefs, ThumbnailCache *thumbnails = nullptr,
                                 QObject *parent = nullptr);

    // Where the clickable parts sit inside a row drawn with `font`.
    static QRect keepAllRect(const QRect &row, const QFont &font);
    static QRect menuButtonRect(const QRect &row);
    static QRect countdownRect(const QRect &row, const QFont &font, const QString &text);
    static QRect markButtonRect(const QRect &row, const QFont &font);
    static QRect putBackButtonRect(const QRect &row, const QFont &font);
    // The backlog row: its line of text (which changes the age), and its two actions.
    static QRect backlogTextRect(const QRect &row, const QFont &font);
    static QRect backlogMakeTemporaryRect(const QRect &row, const QFont &font);
    static QRect backlogReviewRect(const QRect &row, const QFont &font);

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                     const QModelIndex &index) override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;

Q_SIGNALS:
    void keepAllClicked();
    void ignoredHeaderClicked();
    void revealClicked(int row);
    void menuClicked(int row, const QPoint &globalPosition);
    void markTemporaryClicked(int row);
    void putBackClicked(int row);
    void backlogAgeClicked(const QPoint &globalPosition);
    void backlogMakeTemporaryClicked();
    void backlogReviewClicked();
    // A row's picture has come: the view repaints.
    void thumbnailArrived();

private:
    void paintHeader(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void paintFile(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void paintCountdown(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void paintMarkButton(QPainter *painter, const QStyleOptionViewItem &option) const;
    void paintBacklog(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    QIcon iconFor(const QModelIndex &index) const;
    // The row's thumbnail when one is known; asks for it once otherwise.
    QImage thumbnailFor(const QModelIndex &index, double scale) const;

    const Preferences &m_prefs;
    ThumbnailCache *m_thumbnails;
    mutable QHash<QByteArray, QImage> m_rowPictures; // by thumbnail key; null: none to be had
    mutable QSet<QByteArray> m_asked;
    mutable QHash<QString, QIcon> m_icons; // by icon name
};

} // namespace dowsel
