// SPDX-License-Identifier: MIT
#pragma once

#include <QMainWindow>
#include <QString>
#include <QStringList>
#include <map>

class Canvas;
class ColorWidget;
class Filter;
class QActionGroup;
class QMenu;
class QToolBar;
class Tool;

// The one top-level window: menus, tool bar, colour dock, status bar and the
// current document as central widget.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~MainWindow() override;

    void setCanvas(Canvas* canvas);
    void setStatus(const QString& text);
    QColor drawColor() const;
    void setDrawColor(const QColor& color);
    void setAllEnabled(bool enabled);
    void setFilename(const QString& name);
    bool save();
    void runFilter(Filter* filter);
    // Opens the file as File > Open does after its dialog; false when unreadable.
    bool openFile(const QString& path);
    // Opens the first of the paths or file:// URLs that is readable.
    bool openFirstOf(const QStringList& paths);

    // Read access for tests.
    Canvas* currentCanvas() const { return canvas; }
    QString currentFilename() const { return filename; }
    Tool* registeredTool(const QString& label) const;
    QActionGroup* toolActions() const { return toolGroup; }
    ColorWidget* colorSwatch() const { return colorWidget; }
    Filter* previousFilter() const { return lastFilter; }

protected slots:
    void toolClicked(QAction* action);
    void invertFilter();
    void zarnelateFilter();
    void zarnifyFilter();
    void zarnonimateFilter();
    void bumpFilter();
    void editUndo();
    void editRedo();
    void editSelectAll();
    void editClearSelection();
    void editInvertSelection();
    void fileNew();
    void fileClose();
    void fileSave();
    void fileOpen();
    void fileQuit();
    void helpAbout();
    void newCanvasDone();
    void filterPrevious();

protected:
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void keyReleaseEvent(QKeyEvent* e) override;
    void dragEnterEvent(QDragEnterEvent* e) override;
    void dropEvent(QDropEvent* e) override;

    void initToolBar();
    void initMenu();
    void initColorDock();
    void addMenuItem(QMenu* menu, const QString& label, const QString& shortcut, const char* slot);
    void addTool(QToolBar* toolBar, QActionGroup* group, const QString& name, const QIcon& icon,
                 const QString& key, Tool* tool);

protected:
    Canvas* canvas = nullptr;
    QString filename;
    std::map<QString, Tool*> tools;
    QActionGroup* toolGroup = nullptr;
    ColorWidget* colorWidget = nullptr;
    Filter* filterInvert = nullptr;
    Filter* filterZarnelate = nullptr;
    Filter* filterZarnify = nullptr;
    Filter* filterBump = nullptr;
    Filter* filterZarnonimate = nullptr;
    Filter* lastFilter = nullptr;
};
