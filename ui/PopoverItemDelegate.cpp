#include "ui/PopoverItemDelegate.h"

#include "ui/PopoverListModel.h"
#include "ui/PopoverStyle.h"
#include "ui/ThumbnailCache.h"
#include "ui/model/SettingsTexts.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QMimeDatabase>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <QToolTip>

namespace dowsel {

namespace {

constexpr int inset = 16;
constexpr int spacing = 10;
constexpr int thumbnailSize = 28;
constexpr int rowVerticalInset = 12;
constexpr int headerVerticalInset = 6;
constexpr int menuButtonSize = 30;
constexpr int dividerInset = inset + thumbnailSize + spacing; // 54

using RowKind = PopoverListModel::RowKind;

RowKind kindOf(const QModelIndex &index)
{
    return RowKind(index.data(PopoverListModel::KindRole).toInt());
}

bool isFileRow(RowKind kind)
{
    return kind == RowKind::temporaryFile || kind == RowKind::ignoredFile || kind == RowKind::trashedFile;
}

QString putBackText()
{
    return PopoverItemDelegate::tr("Put back");
}

QString makeAllTemporaryText()
{
    return PopoverItemDelegate::tr("Make all temporary");
}

QString reviewText()
{
    return PopoverItemDelegate::tr("Review…");
}



QString keepAllText()
{
    return PopoverItemDelegate::tr("Keep All");
}

QString markTemporaryText()
{
    return PopoverItemDelegate::tr("Mark as temporary");
}

// A small hourglass, the mark button's symbol.
void drawHourglass(QPainter *painter, const QRectF &box, const QColor &color)
{
    QPainterPath path;
    path.moveTo(box.topLeft());
    path.lineTo(box.topRight());
    path.lineTo(box.center());
    path.lineTo(box.bottomRight());
    path.lineTo(box.bottomLeft());
    path.lineTo(box.center());
    path.closeSubpath();
    painter->setPen(QPen(color, 1.2));
    painter->setBrush(Qt::NoBrush);
    painter->drawPath(path);
}

void drawChevron(QPainter *painter, const QRectF &box, bool down, const QColor &color)
{
    painter->setPen(QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF c = box.center();
    const qreal r = box.width() / 4;
    if (down)
        painter->drawPolyline(QPolygonF({c + QPointF(-r, -r / 2), c + QPointF(0, r / 2), c + QPointF(r, -r / 2)}));
    else
        painter->drawPolyline(QPolygonF({c + QPointF(-r / 2, -r), c + QPointF(r / 2, 0), c + QPointF(-r / 2, r)}));
}

} // namespace

PopoverItemDelegate::PopoverItemDelegate(const Preferences &prefs, ThumbnailCache *thumbnails, QObject *parent)
    : QStyledItemDelegate(parent), m_prefs(prefs), m_thumbnails(thumbnails)
{
}

QRect PopoverItemDelegate::keepAllRect(const QRect &row, const QFont &font)
{
    const QFontMetrics metrics(font);
    const int width = metrics.horizontalAdvance(keepAllText()) + 8;
    return QRect(row.right() - inset - width + 1, row.top(), width, row.height());
}

QRect PopoverItemDelegate::menuButtonRect(const QRect &row)
{
    return QRect(row.right() - inset - menuButtonSize + 1, row.center().y() - menuButtonSize / 2, menuButtonSize,
                 menuButtonSize);
}

QRect PopoverItemDelegate::countdownRect(const QRect &row, const QFont &font, const QString &text)
{
    const QFontMetrics metrics(popoverstyle::captionFont(font));
    const int width = 8 + 10 + 4 + metrics.horizontalAdvance(text) + 8;
    const int height = metrics.height() + 8;
    const QRect menu = menuButtonRect(row);
    return QRect(menu.left() - spacing - width, row.center().y() - height / 2, width, height);
}

QRect PopoverItemDelegate::markButtonRect(const QRect &row, const QFont &font)
{
    const QFontMetrics metrics(popoverstyle::captionFont(font));
    const int width = 6 + 10 + 4 + metrics.horizontalAdvance(markTemporaryText()) + 6;
    const int height = metrics.height() + 8;
    return QRect(row.right() - inset - width + 1, row.center().y() - height / 2, width, height);
}

QRect PopoverItemDelegate::putBackButtonRect(const QRect &row, const QFont &font)
{
    const QFontMetrics metrics(popoverstyle::captionFont(font));
    const int width = 8 + metrics.horizontalAdvance(putBackText()) + 8;
    const int height = metrics.height() + 8;
    return QRect(row.right() - inset - width + 1, row.center().y() - height / 2, width, height);
}

QRect PopoverItemDelegate::backlogTextRect(const QRect &row, const QFont &font)
{
    const QFontMetrics metrics(popoverstyle::captionFont(font));
    return QRect(row.left() + inset, row.top() + rowVerticalInset / 2, row.width() - 2 * inset, metrics.height() + 6);
}

QRect PopoverItemDelegate::backlogMakeTemporaryRect(const QRect &row, const QFont &font)
{
    const QFontMetrics metrics(popoverstyle::captionFont(font));
    const QRect text = backlogTextRect(row, font);
    return QRect(text.left(), text.bottom() + 3, metrics.horizontalAdvance(makeAllTemporaryText()) + 8,
                 metrics.height() + 6);
}

QRect PopoverItemDelegate::backlogReviewRect(const QRect &row, const QFont &font)
{
    const QFontMetrics metrics(popoverstyle::captionFont(font));
    const QRect first = backlogMakeTemporaryRect(row, font);
    return QRect(first.right() + 1 + spacing, first.top(), metrics.horizontalAdvance(reviewText()) + 8,
                 first.height());
}

QSize PopoverItemDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const QFontMetrics caption(popoverstyle::captionFont(option.font));
    if (kindOf(index) == RowKind::backlog)
        return {option.rect.width(), 2 * (caption.height() + 6) + 3 + rowVerticalInset};
    if (isFileRow(kindOf(index))) {
        const int textHeight = QFontMetrics(option.font).height() + caption.height();
        return {option.rect.width(), std::max(thumbnailSize, textHeight) + 2 * rowVerticalInset};
    }
    return {option.rect.width(), caption.height() + 2 * headerVerticalInset};
}

void PopoverItemDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (isFileRow(kindOf(index)))
        paintFile(painter, option, index);
    else if (kindOf(index) == RowKind::backlog)
        paintBacklog(painter, option, index);
    else
        paintHeader(painter, option, index);
    painter->restore();
}

void PopoverItemDelegate::paintHeader(QPainter *painter, const QStyleOptionViewItem &option,
                                      const QModelIndex &index) const
{
    const QPalette &palette = option.palette;
    painter->fillRect(option.rect, popoverstyle::headerBackground(palette));
    QFont caption = popoverstyle::captionFont(option.font);
    caption.setWeight(QFont::DemiBold);
    painter->setFont(caption);
    const QRect content = option.rect.adjusted(inset, headerVerticalInset, -inset, -headerVerticalInset);
    const QString title = index.data(Qt::DisplayRole).toString();

    if (kindOf(index) == RowKind::trashedHeader) {
        painter->setPen(popoverstyle::secondaryText(palette));
        painter->drawText(content, Qt::AlignLeft | Qt::AlignVCenter, title);
        return;
    }
    if (kindOf(index) == RowKind::temporaryHeader) {
        painter->setPen(popoverstyle::secondaryText(palette));
        painter->drawText(content, Qt::AlignLeft | Qt::AlignVCenter, title);
        painter->setFont(popoverstyle::captionFont(option.font));
        painter->setPen(popoverstyle::tint(palette));
        painter->drawText(keepAllRect(option.rect, option.font), Qt::AlignCenter, keepAllText());
        return;
    }

    const bool expanded = index.data(PopoverListModel::ExpandedRole).toBool();
    const QFontMetrics metrics(caption);
    const QRectF chevron(content.left(), content.center().y() - 5, 10, 10);
    drawChevron(painter, chevron, expanded, popoverstyle::secondaryText(palette));
    QRect titleRect = content.adjusted(16, 0, 0, 0);
    painter->setPen(palette.color(QPalette::WindowText));
    painter->drawText(titleRect, Qt::AlignLeft | Qt::AlignVCenter, title);

    // The count in a capsule, inset 5 across and 1 up and down.
    const QString count = QString::number(index.data(PopoverListModel::IgnoredCountRole).toInt());
    const QFont countFont = popoverstyle::captionFont(option.font);
    const QFontMetrics countMetrics(countFont);
    const QRect capsule(titleRect.left() + metrics.horizontalAdvance(title) + 6,
                        content.center().y() - countMetrics.height() / 2 - 1,
                        countMetrics.horizontalAdvance(count) + 10, countMetrics.height() + 2);
    QColor capsuleColor = palette.color(QPalette::WindowText);
    capsuleColor.setAlphaF(0.12);
    painter->setPen(Qt::NoPen);
    painter->setBrush(capsuleColor);
    painter->drawRoundedRect(capsule, capsule.height() / 2.0, capsule.height() / 2.0);
    painter->setFont(countFont);
    painter->setPen(palette.color(QPalette::WindowText));
    painter->drawText(capsule, Qt::AlignCenter, count);
}

void PopoverItemDelegate::paintFile(QPainter *painter, const QStyleOptionViewItem &option,
                                    const QModelIndex &index) const
{
    const QPalette &palette = option.palette;
    const QRect row = option.rect;
    if (option.state & QStyle::State_MouseOver)
        painter->fillRect(row, popoverstyle::hoverBackground(palette));

    const QRect thumbnail(row.left() + inset, row.center().y() - thumbnailSize / 2, thumbnailSize, thumbnailSize);
    const double scale = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
    if (const QImage picture = thumbnailFor(index, scale); !picture.isNull()) {
        const QSizeF fitted = QSizeF(picture.size()).scaled(QSizeF(thumbnail.size()), Qt::KeepAspectRatio);
        const QRectF target(QPointF(thumbnail.center().x() + 0.5 - fitted.width() / 2,
                                    thumbnail.center().y() + 0.5 - fitted.height() / 2),
                            fitted);
        QPainterPath clip;
        clip.addRoundedRect(target, 4, 4);
        painter->save();
        painter->setRenderHint(QPainter::SmoothPixmapTransform);
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setClipPath(clip, Qt::IntersectClip);
        painter->drawImage(target, picture);
        painter->restore();
    } else {
        iconFor(index).paint(painter, thumbnail);
    }

    const bool temporary = kindOf(index) == RowKind::temporaryFile;
    int trailing = row.right() - inset;
    if (temporary) {
        const QRect menu = menuButtonRect(row);
        painter->setPen(Qt::NoPen);
        painter->setBrush(palette.color(QPalette::WindowText));
        for (int dot = -1; dot <= 1; ++dot)
            painter->drawEllipse(QPointF(menu.center().x() + dot * 5.5, menu.center().y()), 1.8, 1.8);
        trailing = menu.left() - spacing;
        const QString countdown = index.data(PopoverListModel::CountdownTextRole).toString();
        if (!countdown.isEmpty()) {
            paintCountdown(painter, option, index);
            trailing = countdownRect(row, option.font, countdown).left() - spacing;
        }
    } else if (kindOf(index) == RowKind::trashedFile) {
        const QRect button = putBackButtonRect(row, option.font);
        painter->setFont(popoverstyle::captionFont(option.font));
        painter->setPen(popoverstyle::tint(palette));
        painter->drawText(button, Qt::AlignCenter, putBackText());
        trailing = button.left() - spacing;
    } else {
        paintMarkButton(painter, option);
        trailing = markButtonRect(row, option.font).left() - spacing;
    }

    const int textLeft = thumbnail.right() + 1 + spacing;
    const QFontMetrics nameMetrics(option.font);
    const QFont caption = popoverstyle::captionFont(option.font);
    const QFontMetrics captionMetrics(caption);
    const int blockHeight = nameMetrics.height() + captionMetrics.height();
    const int top = row.center().y() - blockHeight / 2;
    const int width = std::max(0, trailing - textLeft);
    // One line per name: a newline in a file name must not break the row apart.
    QString name = index.data(Qt::DisplayRole).toString();
    name.replace(QLatin1Char('\n'), QChar(0x23CE));
    painter->setFont(option.font);
    painter->setPen(palette.color(QPalette::WindowText));
    painter->drawText(QRect(textLeft, top, width, nameMetrics.height()), Qt::AlignLeft | Qt::AlignVCenter,
                      nameMetrics.elidedText(name, Qt::ElideMiddle, width));
    painter->setFont(caption);
    painter->setPen(popoverstyle::secondaryText(palette));
    QString details = index.data(PopoverListModel::SizeLabelRole).toString();
    if (const QString site = index.data(PopoverListModel::SiteRole).toString(); !site.isEmpty())
        details += QStringLiteral(" · ") + site;
    painter->drawText(QRect(textLeft, top + nameMetrics.height(), width, captionMetrics.height()),
                      Qt::AlignLeft | Qt::AlignVCenter, captionMetrics.elidedText(details, Qt::ElideRight, width));

    const QModelIndex next = index.siblingAtRow(index.row() + 1);
    if (next.isValid() && isFileRow(kindOf(next))) {
        painter->setPen(QPen(popoverstyle::divider(palette), 1));
        painter->drawLine(row.left() + dividerInset, row.bottom(), row.right(), row.bottom());
    }
}

void PopoverItemDelegate::paintCountdown(QPainter *painter, const QStyleOptionViewItem &option,
                                         const QModelIndex &index) const
{
    const QString text = index.data(PopoverListModel::CountdownTextRole).toString();
    const auto tone = CountdownTone(index.data(PopoverListModel::CountdownToneRole).toInt());
    const QRect pill = countdownRect(option.rect, option.font, text);
    // 30 % of the tone's own opacity: the secondary colour is already translucent.
    QColor background = popoverstyle::countdownColor(tone, option.palette);
    background.setAlphaF(background.alphaF() * 0.3);
    painter->setPen(Qt::NoPen);
    painter->setBrush(background);
    painter->drawRoundedRect(pill, 6, 6);

    const QColor primary = option.palette.color(QPalette::WindowText);
    const QRectF can(pill.left() + 8, pill.center().y() - 5, 10, 10);
    popoverstyle::drawTrashSymbol(painter, can, primary);
    painter->setFont(popoverstyle::captionFont(option.font));
    painter->setPen(primary);
    painter->drawText(pill.adjusted(8 + 10 + 4, 0, -8, 0), Qt::AlignLeft | Qt::AlignVCenter, text);
}

void PopoverItemDelegate::paintBacklog(QPainter *painter, const QStyleOptionViewItem &option,
                                       const QModelIndex &index) const
{
    const QPalette &palette = option.palette;
    const QRect row = option.rect;
    const QFont caption = popoverstyle::captionFont(option.font);
    const QFontMetrics metrics(caption);
    painter->setFont(caption);
    painter->setPen(palette.color(QPalette::WindowText));
    const QRect text = backlogTextRect(row, option.font);
    // The age can be changed: the line ends with a small chevron.
    const QString line = metrics.elidedText(index.data(PopoverListModel::BacklogTextRole).toString(), Qt::ElideRight,
                                            text.width() - 16);
    painter->drawText(text, Qt::AlignLeft | Qt::AlignVCenter, line);
    const int chevronLeft = text.left() + metrics.horizontalAdvance(line) + 4;
    drawChevron(painter, QRectF(chevronLeft, text.center().y() - 5, 10, 10), true, popoverstyle::secondaryText(palette));
    painter->setPen(popoverstyle::tint(palette));
    painter->drawText(backlogMakeTemporaryRect(row, option.font), Qt::AlignLeft | Qt::AlignVCenter,
                      makeAllTemporaryText());
    painter->drawText(backlogReviewRect(row, option.font), Qt::AlignLeft | Qt::AlignVCenter, reviewText());
}

void PopoverItemDelegate::paintMarkButton(QPainter *painter, const QStyleOptionViewItem &option) const
{
    const QRect button = markButtonRect(option.rect, option.font);
    const QColor tint = popoverstyle::tint(option.palette);
    drawHourglass(painter, QRectF(button.left() + 6, button.center().y() - 5, 8, 10), tint);
    painter->setFont(popoverstyle::captionFont(option.font));
    painter->setPen(tint);
    painter->drawText(button.adjusted(6 + 10 + 4, 0, -6, 0), Qt::AlignLeft | Qt::AlignVCenter, markTemporaryText());
}

QImage PopoverItemDelegate::thumbnailFor(const QModelIndex &index, double scale) const
{
    const QByteArray path = index.data(PopoverListModel::FilePathRole).toByteArray();
    if (!m_thumbnails || path.isEmpty() || index.data(PopoverListModel::FolderLikeRole).toBool())
        return {};
    const QByteArray key = ThumbnailCache::key(path, scale);
    if (!m_asked.contains(key)) {
        m_asked.insert(key);
        // Answers at once from the cache, or later from the loader's worker.
        const int side = qRound(thumbnailSize * std::max(scale, 1.0));
        m_thumbnails->image(path, scale, this, [this, key, side](const QImage &image) {
            m_rowPictures.insert(key, image.isNull() ? QImage()
                                                     : image.scaled(side, side, Qt::KeepAspectRatio,
                                                                    Qt::SmoothTransformation));
            Q_EMIT const_cast<PopoverItemDelegate *>(this)->thumbnailArrived();
        });
    }
    return m_rowPictures.value(key);
}

QIcon PopoverItemDelegate::iconFor(const QModelIndex &index) const
{
    static const QMimeDatabase mimeTypes;
    QString iconName;
    QString fallbackName;
    QStyle::StandardPixmap standard = QStyle::SP_FileIcon;
    if (index.data(PopoverListModel::FolderLikeRole).toBool()) {
        iconName = QStringLiteral("folder");
        standard = QStyle::SP_DirIcon;
    } else {
        // By name only: the file is never opened to guess its type.
        const QMimeType type = mimeTypes.mimeTypeForFile(index.data(Qt::DisplayRole).toString(),
                                                          QMimeDatabase::MatchExtension);
        iconName = type.iconName();
        fallbackName = type.genericIconName();
    }
    auto found = m_icons.constFind(iconName);
    if (found != m_icons.constEnd())
        return *found;
    QIcon icon = QIcon::fromTheme(iconName);
    if (icon.isNull() && !fallbackName.isEmpty())
        icon = QIcon::fromTheme(fallbackName);
    if (icon.isNull())
        icon = QApplication::style()->standardIcon(standard);
    m_icons.insert(iconName, icon);
    return icon;
}

bool PopoverItemDelegate::editorEvent(QEvent *event, QAbstractItemModel *, const QStyleOptionViewItem &option,
                                      const QModelIndex &index)
{
    if (event->type() != QEvent::MouseButtonRelease)
        return false;
    const auto *mouse = static_cast<QMouseEvent *>(event);
    if (mouse->button() != Qt::LeftButton || !option.rect.contains(mouse->position().toPoint()))
        return false;
    const QPoint at = mouse->position().toPoint();
    switch (kindOf(index)) {
    case RowKind::temporaryHeader:
        if (keepAllRect(option.rect, option.font).contains(at))
            Q_EMIT keepAllClicked();
        return true;
    case RowKind::ignoredHeader:
        Q_EMIT ignoredHeaderClicked();
        return true;
    case RowKind::temporaryFile:
        if (menuButtonRect(option.rect).contains(at))
            Q_EMIT menuClicked(index.row(), mouse->globalPosition().toPoint());
        else
            Q_EMIT revealClicked(index.row());
        return true;
    case RowKind::ignoredFile:
        if (markButtonRect(option.rect, option.font).contains(at))
            Q_EMIT markTemporaryClicked(index.row());
        else
            Q_EMIT revealClicked(index.row());
        return true;
    case RowKind::trashedFile:
        if (putBackButtonRect(option.rect, option.font).contains(at))
            Q_EMIT putBackClicked(index.row());
        return true;
    case RowKind::backlog:
        if (backlogMakeTemporaryRect(option.rect, option.font).contains(at))
            Q_EMIT backlogMakeTemporaryClicked();
        else if (backlogReviewRect(option.rect, option.font).contains(at))
            Q_EMIT backlogReviewClicked();
        else if (backlogTextRect(option.rect, option.font).contains(at))
            Q_EMIT backlogAgeClicked(mouse->globalPosition().toPoint());
        return true;
    case RowKind::trashedHeader:
        return true;
    }
    return false;
}

bool PopoverItemDelegate::helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                                    const QModelIndex &index)
{
    if (event->type() != QEvent::ToolTip)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    QString help;
    switch (kindOf(index)) {
    case RowKind::temporaryHeader:
        if (keepAllRect(option.rect, option.font).contains(event->pos()))
            help = PopoverItemDelegate::tr("Keep all temporary files");
        break;
    case RowKind::ignoredHeader:
        help = index.data(PopoverListModel::ExpandedRole).toBool()
                   ? PopoverItemDelegate::tr("Hide ignored files")
                   : PopoverItemDelegate::tr("Show ignored files");
        break;
    case RowKind::ignoredFile:
        if (markButtonRect(option.rect, option.font).contains(event->pos()))
            help = markTemporaryHelpText(m_prefs);
        break;
    case RowKind::trashedFile:
        if (putBackButtonRect(option.rect, option.font).contains(event->pos()))
            help = PopoverItemDelegate::tr("Move it back to where it was");
        break;
    case RowKind::backlog:
        if (backlogMakeTemporaryRect(option.rect, option.font).contains(event->pos()))
            help = markTemporaryHelpText(m_prefs);
        else if (backlogTextRect(option.rect, option.font).contains(event->pos()))
            help = PopoverItemDelegate::tr("Change the age");
        break;
    case RowKind::temporaryFile:
        if (index.data(PopoverListModel::InUseRole).toBool())
            help = PopoverItemDelegate::tr("A program has it open: it goes to the Trash once it is closed");
        break;
    case RowKind::trashedHeader:
        break;
    }
    if (help.isEmpty()) {
        QToolTip::hideText();
        event->ignore();
        return false;
    }
    QToolTip::showText(event->globalPos(), help, view);
    return true;
}

} // namespace dowsel
