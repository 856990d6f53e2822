// SPDX-License-Identifier: MIT
// STUB: placeholder until implemented
#include "filters/zarnonimatefilter.h"
#include <type_traits>
#include <QAction>
#include <QIcon>
#include <QProgressDialog>
#include <QSplashScreen>
#include "canvas/canvas.h"
#pragma GCC diagnostic ignored "-Wunused-parameter"

OffsetTable calc_ofs(int n, int first, int last) { return {}; }
QImage zarnonimate_image(const QImage& source, const std::vector<OffsetTable>& rowTable, int tileWidth, int tileHeight, const FilterProgress& progress) { return {}; }
ZarnonimateFilter::ZarnonimateFilter(QWidget* parent) : Filter(parent) {}
bool ZarnonimateFilter::loadTable() { return {}; }
void ZarnonimateFilter::run(Canvas* canvas, bool repeat) {}
