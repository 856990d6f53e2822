// SPDX-License-Identifier: MIT
#include "filters/filter.h"

#include <QProgressDialog>
#include <QString>
#include <QWidget>
#include <new>

#include "app/sliderdialog.h"
#include "canvas/picturememory.h"

RowTables::RowTables(const QImage& picture)
    : source(picture.convertToFormat(QImage::Format_ARGB32_Premultiplied)),
      result(allocate_picture(source.size()))
{
    if (result.isNull())
        return;
    try {
        from.resize(size_t(source.height()));
        to.resize(size_t(source.height()));
    } catch (const std::bad_alloc&) {
        result = QImage();
        from.clear();
        to.clear();
        return;
    }
    for (int y = 0; y < source.height(); ++y) {
        from[size_t(y)] = reinterpret_cast<const QRgb*>(source.constScanLine(y));
        to[size_t(y)] = reinterpret_cast<QRgb*>(result.scanLine(y));
    }
}

Filter::Filter(QWidget* parent) : QObject(parent) {}

Filter::~Filter() = default;

QWidget* Filter::dialogParent() const
{
    return qobject_cast<QWidget*>(parent());
}

bool Filter::askSetting(const QString& title, const QString& label, int minimum, int maximum,
                        int& setting) const
{
    SliderDialog dialog(title, label, setting, minimum, maximum, dialogParent());
    if (dialog.exec() != QDialog::Accepted)
        return false;
    setting = dialog.value();
    return true;
}

std::unique_ptr<QProgressDialog> Filter::createProgress(const QString& label, int maximum) const
{
    // Never shown explicitly: the dialog appears by itself once the work
    // promises to last long enough, so quick runs do not flash a window.
    auto dialog = std::make_unique<QProgressDialog>(label, QStringLiteral("Cancel"), 0, maximum,
                                                    dialogParent());
    dialog->setWindowModality(Qt::WindowModal);
    return dialog;
}

FilterProgress Filter::pollProgress(QProgressDialog* dialog)
{
    return [dialog](int done) {
        dialog->setValue(done);
        return !dialog->wasCanceled();
    };
}
