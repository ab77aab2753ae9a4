#include "ownerplacement.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <QWindow>

#include <algorithm>

QPoint PlaceInArea(const QRect &owner, const QSize &dialog, const QRect &area)
{
    const int x = owner.x() + owner.width() / 2 - dialog.width() / 2;
    const int y = owner.y() + owner.height() / 2 - dialog.height() / 2;
    const int right = area.x() + area.width() - dialog.width();
    const int bottom = area.y() + area.height() - dialog.height();
    return {std::max(area.x(), std::min(x, right)), std::max(area.y(), std::min(y, bottom))};
}

namespace {

/// The free area of the screen that shows most of a window; Qt's own answer may be out of date.
QRect AreaOf(const QWidget *window)
{
    const QScreen *best = window->screen();
    qint64 bestPixels = 0;
    for (const QScreen *const screen : QGuiApplication::screens()) {
        const QRect shown = screen->geometry() & window->frameGeometry();
        const qint64 pixels = qint64{shown.width()} * shown.height();
        if (!shown.isEmpty() && pixels > bestPixels) {
            best = screen;
            bestPixels = pixels;
        }
    }
    return best->availableGeometry();
}

} // namespace

void TieToOwner(QWidget *dialog, const QWidget *owner)
{
    if (owner == nullptr || dialog->parentWidget() != nullptr)
        return;
    dialog->winId(); // makes the window that the next line needs
    dialog->windowHandle()->setTransientParent(owner->window()->windowHandle());
}

void PlaceOver(QWidget *dialog, const QWidget *owner)
{
    if (owner == nullptr)
        return;
    // The dialog will get a frame of the same size as its owner's.
    const QSize frame = owner->frameSize() - owner->size();
    const bool isFrameless = dialog->windowFlags().testFlag(Qt::FramelessWindowHint);
    const QSize size = dialog->testAttribute(Qt::WA_Resized) ? dialog->size() : dialog->sizeHint();
    dialog->move(PlaceInArea(
        {owner->pos(), owner->size()}, isFrameless ? size : size + frame, AreaOf(owner)));
}

void PullOntoScreen(QWidget *dialog, const QWidget *owner)
{
    const QRect frame = dialog->frameGeometry();
    const QRect area = AreaOf(owner);
    if (!area.contains(frame))
        dialog->move(PlaceInArea(frame, frame.size(), area));
}
