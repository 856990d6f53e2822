// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>

class QSlider;

// Modal dialog asking for one integer with a slider.
class SliderDialog : public QDialog
{
    Q_OBJECT

public:
    SliderDialog(const QString& title, const QString& label, int value, int min, int max,
                 QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~SliderDialog() override;

    void build(const QString& title, const QString& label, int value, int min, int max);
    int value() const;

    QSlider* valueSlider() const { return slider; }

protected:
    QSlider* slider = nullptr;
};
