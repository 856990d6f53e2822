// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QObject>
#include <functional>
#include <memory>
#include <vector>

class Canvas;
class QProgressDialog;
class QString;
class QWidget;

// Reports work done (a row index or a stamp count) to whoever runs a pixel
// function; returning false cancels the computation. An empty one never cancels.
using FilterProgress = std::function<bool(int)>;

// A 32-bit premultiplied view of a filter's source and a new result picture
// of its size, with every row's start address fetched once, before the
// pixel loops. Out of memory (after the undo history made what room it
// could) the tables are empty and the result is null.
struct RowTables
{
    explicit RowTables(const QImage& picture);
    bool valid() const { return !result.isNull(); }

    QImage source;
    QImage result;
    std::vector<const QRgb*> from;
    std::vector<QRgb*> to;
};

// A whole-image operation from the Filters menu. run() asks for the setting,
// takes an undo snapshot, computes under a progress dialog and applies the
// result through the selection; the pixel work itself is a pure function.
class Filter : public QObject
{
public:
    explicit Filter(QWidget* parent);
    ~Filter() override;

    virtual void run(Canvas* canvas, bool repeat) = 0;

protected:
    // The main window, parent of every dialog a filter opens.
    QWidget* dialogParent() const;
    // Runs the slider dialog for the filter's one setting; on OK stores the
    // chosen value in setting and returns true, on Cancel leaves it alone.
    bool askSetting(const QString& title, const QString& label, int minimum, int maximum,
                    int& setting) const;
    // The window-modal progress dialog of a run, ranged 0 to maximum. Virtual
    // so that a subclass can tune the dialog (tests make it show at once).
    virtual std::unique_ptr<QProgressDialog> createProgress(const QString& label,
                                                            int maximum) const;
    // A progress callback that updates dialog and reports whether to go on.
    static FilterProgress pollProgress(QProgressDialog* dialog);
};
