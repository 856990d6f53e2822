// SPDX-License-Identifier: MIT
#include "app/mainwindow.h"

#include <QActionGroup>
#include <QApplication>
#include <QDockWidget>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QIcon>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <functional>

#include "app/colorwidget.h"
#include "app/droppedfiles.h"
#include "app/imagefile.h"
#include "app/log.h"
#include "canvas/canvas.h"
#include "filters/bumpfilter.h"
#include "filters/invertfilter.h"
#include "filters/zarnelatefilter.h"
#include "filters/zarnifyfilter.h"
#include "filters/zarnonimatefilter.h"
#include "tools/brushtool.h"
#include "tools/eyedroppertool.h"
#include "tools/lassotool.h"
#include "tools/magicwandtool.h"
#include "tools/marqueetool.h"
#include "tools/movetool.h"
#include "tools/texttool.h"

namespace {

struct ToolEntry
{
    const char* key;
    const char* label;
    const char* icon;
    std::function<Tool*()> create;
};

// Tool-bar order, top to bottom.
const ToolEntry kToolTable[] = {
    {"v", "Move", ":/data/icon_move.png", [] { return new MoveTool; }},
    {"b", "Brush", ":/data/icon_brush.png", [] { return new BrushTool; }},
    {"t", "Text", ":/data/icon_text.png", [] { return new TextTool; }},
    {"i", "Eyedropper", ":/data/icon_eye.png", [] { return new EyeDropperTool; }},
    {"m", "Marquee", ":/data/icon_marquee.png", [] { return new MarqueeTool; }},
    {"l", "Lasso", ":/data/icon_lasso.png", [] { return new LassoTool; }},
    {"w", "Magic Wand", ":/data/icon_wand.png", [] { return new MagicWandTool; }},
};

} // namespace

MainWindow::MainWindow(QWidget* parent, Qt::WindowFlags flags) : QMainWindow(parent, flags)
{
    setCentralWidget(new QWidget(nullptr, {}));
    setStatusBar(new QStatusBar(nullptr));
    initToolBar();
    initMenu();
    initColorDock();
    setAcceptDrops(true);
}

// The tools are shared by every canvas for the life of the process and are
// deliberately not deleted here.
MainWindow::~MainWindow() = default;

Tool* MainWindow::registeredTool(const QString& label) const
{
    const auto it = tools.find(label);
    return it == tools.end() ? nullptr : it->second;
}

void MainWindow::setCanvas(Canvas* newCanvas)
{
    if (!newCanvas) {
        canvas = nullptr;
        setCentralWidget(new QWidget(nullptr, {}));
        toolGroup->setEnabled(false);
        setFilename(QString());
        return;
    }
    newCanvas->resize(centralWidget()->size());
    // A document that cannot be set up (no memory for its selection) is not
    // installed: the current one stays.
    if (!newCanvas->init()) {
        delete newCanvas;
        return;
    }
    canvas = newCanvas;
    setCentralWidget(newCanvas);
    // The view is fitted once the canvas has its final size in the layout.
    QTimer::singleShot(0, this, &MainWindow::newCanvasDone);
    toolGroup->setEnabled(true);
}

void MainWindow::setStatus(const QString& text)
{
    statusBar()->showMessage(text, 0);
}

QColor MainWindow::drawColor() const
{
    return colorWidget->color();
}

void MainWindow::setDrawColor(const QColor& color)
{
    colorWidget->setColor(color);
}

void MainWindow::setAllEnabled(bool enabled)
{
    toolGroup->setEnabled(enabled);
}

void MainWindow::setFilename(const QString& name)
{
    filename = name;
    if (name.isNull())
        setWindowTitle(QString(""));
    else if (name.isEmpty())
        setWindowTitle("Untitled");
    else
        setWindowTitle(QFileInfo(name).fileName());
}

bool MainWindow::save()
{
    if (!canvas)
        return false;
    const QString name =
        QFileDialog::getSaveFileName(this, "Save Image", QString(), QString(), nullptr, {});
    if (name.isNull())
        return false;
    if (!save_image_file(canvas->image(), name)) {
        log("save error\n");
        return false;
    }
    setFilename(name);
    canvas->setChanged(false);
    return true;
}

void MainWindow::runFilter(Filter* filter)
{
    if (!canvas)
        return;
    filter->run(canvas, false);
    // Remembered even when its dialog was cancelled, so "Last" repeats it.
    lastFilter = filter;
}

void MainWindow::toolClicked(QAction* action)
{
    Tool* tool = registeredTool(action->text());
    if (!tool || !canvas)
        return;
    canvas->popTool();
    canvas->pushTool(tool);
}

void MainWindow::invertFilter()
{
    runFilter(filterInvert);
}

void MainWindow::zarnelateFilter()
{
    runFilter(filterZarnelate);
}

void MainWindow::zarnifyFilter()
{
    runFilter(filterZarnify);
}

void MainWindow::zarnonimateFilter()
{
    runFilter(filterZarnonimate);
}

void MainWindow::bumpFilter()
{
    runFilter(filterBump);
}

void MainWindow::editUndo()
{
    if (canvas)
        canvas->undo();
}

void MainWindow::editRedo()
{
    if (canvas)
        canvas->redo();
}

void MainWindow::editSelectAll()
{
    if (!canvas)
        return;
    canvas->selectAll();
}

void MainWindow::editClearSelection()
{
    if (canvas)
        canvas->clearMask();
}

void MainWindow::editInvertSelection()
{
    if (canvas)
        canvas->invertMask();
}

void MainWindow::fileNew()
{
    setCanvas(new Canvas(nullptr, {}));
    setFilename(QString(""));
}

void MainWindow::fileClose()
{
    if (canvas)
        setCanvas(nullptr);
}

void MainWindow::fileSave()
{
    save();
}

void MainWindow::fileOpen()
{
    const QString path =
        QFileDialog::getOpenFileName(this, "Open Image", QString(), QString(), nullptr, {});
    if (!path.isNull())
        openFile(path);
}

bool MainWindow::openFile(const QString& path)
{
    const QImage image = load_image_file(path);
    if (image.isNull())
        return false;
    // A picture too big to set up as a document leaves the current one.
    auto* opened = new Canvas(image, nullptr, {});
    setCanvas(opened);
    if (canvas != opened)
        return false;
    setFilename(path);
    return true;
}

bool MainWindow::openFirstOf(const QStringList& paths)
{
    for (const QString& path : paths)
        if (openFile(local_path_of(path)))
            return true;
    return false;
}

void MainWindow::fileQuit()
{
    QCoreApplication::quit();
}

void MainWindow::helpAbout()
{
    QMessageBox::about(this, "About", "What zarn?");
}

void MainWindow::newCanvasDone()
{
    if (canvas)
        canvas->resetView();
}

void MainWindow::filterPrevious()
{
    if (lastFilter && canvas)
        lastFilter->run(canvas, true);
}

// Clicks outside the canvas are swallowed rather than passed on.
void MainWindow::mousePressEvent(QMouseEvent*) {}

void MainWindow::mouseReleaseEvent(QMouseEvent*) {}

void MainWindow::mouseMoveEvent(QMouseEvent*) {}

// The canvas never takes keyboard focus; it hears keys only through here.
void MainWindow::keyPressEvent(QKeyEvent* e)
{
    if (canvas)
        canvas->keyPressEvent(e);
}

void MainWindow::keyReleaseEvent(QKeyEvent* e)
{
    if (canvas)
        canvas->keyReleaseEvent(e);
}

// The canvas is replaced on every New and Open and accepts no drops itself,
// so drops over it arrive here whatever document is shown.
void MainWindow::dragEnterEvent(QDragEnterEvent* e)
{
    if (!accept_as_copy(e, dropped_image_files(e->mimeData())))
        e->ignore();
}

void MainWindow::dropEvent(QDropEvent* e)
{
    const QStringList files = dropped_image_files(e->mimeData());
    if (!accept_as_copy(e, files) || !openFirstOf(files))
        e->ignore();
}

void MainWindow::initToolBar()
{
    auto* toolBar = new QToolBar(nullptr);
    auto* group = new QActionGroup(toolBar);
    for (const ToolEntry& entry : kToolTable)
        addTool(toolBar, group, entry.label, QIcon(entry.icon), entry.key, entry.create());
    group->setEnabled(false);
    toolGroup = group;
    addToolBar(Qt::LeftToolBarArea, toolBar);
    connect(toolBar, &QToolBar::actionTriggered, this, &MainWindow::toolClicked);
}

void MainWindow::initMenu()
{
    auto* bar = new QMenuBar(nullptr);

    QMenu* file = bar->addMenu("File");
    addMenuItem(file, "New...", "Ctrl+N", SLOT(fileNew()));
    addMenuItem(file, "Open...", "Ctrl+O", SLOT(fileOpen()));
    addMenuItem(file, "Save...", "Ctrl+S", SLOT(fileSave()));
    addMenuItem(file, "Close", "Ctrl+W", SLOT(fileClose()));
    file->addSeparator();
    addMenuItem(file, "Quit", "Ctrl+Q", SLOT(fileQuit()));

    QMenu* edit = bar->addMenu("Edit");
    addMenuItem(edit, "Undo", "Ctrl+Z", SLOT(editUndo()));
    addMenuItem(edit, "Redo", "Ctrl+R", SLOT(editRedo()));
    edit->addSeparator();
    addMenuItem(edit, "Select All", "Ctrl+A", SLOT(editSelectAll()));
    addMenuItem(edit, "Clear Selection", "Ctrl+D", SLOT(editClearSelection()));
    addMenuItem(edit, "Invert Selection", "Ctrl+Shift+I", SLOT(editInvertSelection()));

    QMenu* filters = bar->addMenu("Filters");
    addMenuItem(filters, "Last", "Ctrl+F", SLOT(filterPrevious()));
    filters->addSeparator();
    filterInvert = new InvertFilter(this);
    addMenuItem(filters, "Zarnert", "Ctrl+I", SLOT(invertFilter()));
    filterZarnelate = new ZarnelateFilter(this);
    addMenuItem(filters, "Zarnelate", QString(), SLOT(zarnelateFilter()));
    filterZarnify = new ZarnifyFilter(this);
    addMenuItem(filters, "Zarnify", QString(), SLOT(zarnifyFilter()));
    filterBump = new BumpFilter(this);
    addMenuItem(filters, "Zarnelure", QString(), SLOT(bumpFilter()));
    filterZarnonimate = new ZarnonimateFilter(this);
    addMenuItem(filters, "Zarnonimate", QString(), SLOT(zarnonimateFilter()));

    QMenu* help = bar->addMenu("Help");
    addMenuItem(help, "About", QString(), SLOT(helpAbout()));

    setMenuBar(bar);
}

void MainWindow::initColorDock()
{
    auto* dock = new QDockWidget(static_cast<QWidget*>(nullptr), Qt::WindowFlags());
    colorWidget = new ColorWidget(nullptr, {});
    dock->setWidget(colorWidget);
    addDockWidget(Qt::RightDockWidgetArea, dock);
}

void MainWindow::addMenuItem(QMenu* menu, const QString& label, const QString& shortcut,
                             const char* slot)
{
    QAction* action = menu->addAction(label);
    if (!shortcut.isEmpty())
        action->setShortcut(QKeySequence(shortcut));
    if (slot)
        connect(action, SIGNAL(triggered()), this, slot);
}

void MainWindow::addTool(QToolBar* toolBar, QActionGroup* group, const QString& name,
                         const QIcon& icon, const QString& key, Tool* tool)
{
    tools[name] = tool;
    tool->setMainWindow(this);

    auto* action = new QAction(group);
    action->setText(name);
    action->setCheckable(true);
    action->setShortcut(QKeySequence(key));
    action->setIcon(icon);
    action->setToolTip(QString::asprintf("%s (%s)", name.toUtf8().constData(),
                                         key.toUpper().toUtf8().constData()));
    toolBar->addAction(action);
}
