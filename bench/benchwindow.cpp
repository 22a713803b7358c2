// A session in the window on a Local Database with one long conversation, without a display: how long a
// person waits for each thing.
#include "app/datalocations.h"
#include "app/texts.h"
#include "export/exportmessages.h"
#include "silentprogress.h"
#include "tools/samplephone/samplephone.h"
#include "ui/mainwindow.h"
#include "ui/views/messagepane.h"
#include "ui/views/mytreeview.h"
#include "ui/views/sourcepane.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTranslator>

#include <ctime>
#include <functional>

using namespace Qt::StringLiterals;

namespace
{

void timed(const char *what, const std::function<void()> &work)
{
    QElapsedTimer timer;
    const std::clock_t before = std::clock();
    timer.start();
    work();
    const double processor = double(std::clock() - before) / CLOCKS_PER_SEC;
    std::printf("%-52s %9.3f s %9.3f s of processor\n", what, double(timer.nsecsElapsed()) / 1e9, processor);
}

/// Runs what the window has queued, its busy dialog too, until `done`, then paints.
void waitFor(QWidget &window, const std::function<bool()> &done)
{
    while (!done())
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    window.grab();
}

void search(MainWindow &window)
{
    auto *words = window.findChild<QLineEdit *>(u"txtSMSKeyword"_s);
    words->setText(u"xyzzy"_s);
    window.findChild<MessagePane *>()->searchMessages();
    window.grab();
}

void exportAll(MainWindow &window, const QDir &dir)
{
    const QList<_MsgMessage *> messages = window.findChild<MessagePane *>()->onView().messages;
    SilentProgress progress;
    const auto to = [&](const QString &name, ExportFormat format) {
        exportMessages(messages, {dir.filePath(name), format}, progress);
    };
    timed("export to text", [&] { to(u"out.txt"_s, ExportText); });
    timed("export to CSV", [&] { to(u"out.csv"_s, ExportCsv); });
    timed("export to HTML", [&] { to(u"out-html"_s, ExportHtml); });
    timed("export to PDF", [&] { to(u"out-pdf"_s, ExportPdf); });
}

void session(const QDir &dir)
{
    MainWindow window;
    window.show();
    auto *sources = window.findChild<SourcePane *>();
    auto *pane = window.findChild<MessagePane *>();
    const auto *database = sources->model().rootLocalDb->children.first();
    const auto isShown = [&] { return !pane->onView().messages.isEmpty(); };
    timed("reading the source, to the first page", [&] {
        sources->select(database);
        waitFor(window, isShown);
    });
    timed("a conversation of what is read, to the first page", [&] {
        sources->select(database->children.first());
        waitFor(window, isShown);
    });
    pane->onView().messages.last()->text += u" xyzzy"_s;
    timed("finding the last message", [&] { search(window); });
    auto *header = window.findChild<MyTreeView *>(u"treeViewSMS"_s)->header();
    timed("newest first", [&] {
        header->setSortIndicator(0, Qt::DescendingOrder);
        window.grab();
    });
    exportAll(window, dir);
}

} // namespace

int main(int argc, char **argv)
{
    const QTemporaryDir dir;
    qputenv("XDG_DATA_HOME", dir.path().toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QTranslator translator;
    installTexts(translator);
    SamplePhonePlan plan;
    plan.messages = QApplication::arguments().value(1, u"100000"_s).toInt();
    plan.conversations = 1;
    SamplePhone(plan).writeRelay(QDir(localDatabasesDir().filePath(u"Sample"_s)));
    session(QDir(dir.path()));
    return 0;
}
