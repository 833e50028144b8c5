// The program started while brindale-cli holds the application folder says which job holds it;
// started beside another copy of itself it ends silently.
#include <QtTest>

#include "shell/application.h"
#include "shell/folder_lock.h"
#include "shell/messages.h"
#include "support/temp_app.h"

#include <unistd.h>

#include <filesystem>

using namespace brindale::shell;
using brindale::testing::TempApp;

class ProgramMessageTest : public QObject {
    Q_OBJECT
private slots:
    void init() {
        Messages::clearShown();
        Messages::setResponder([](const MessageRecord&) { return MsgResult::Ok; });
    }
    void aFolderWhereTheLockCannotBeMadeLetsTheStartTell();
    void aCliRunIsNamedByJobAndProcess();
    void theChineseBlockGivesItsOwnText();
};

void ProgramMessageTest::aFolderWhereTheLockCannotBeMadeLetsTheStartTell() {
    // The lock file's name taken by a folder: the program goes on, and its start tells what else
    // is wrong with the folder; nothing is shown here.
    TempApp app;
    std::filesystem::create_directories(app.path(kFolderLockFile));
    QVERIFY(claimApplicationFolder(app.dir()));
    QVERIFY(Messages::shown().empty());
    FolderLock again;
    QCOMPARE(again.acquire(app.dir(), "brindale-cli summary"), FolderLock::Result::Failed);
    QVERIFY(again.error().find(app.path(kFolderLockFile)) != std::string::npos);
}

void ProgramMessageTest::aCliRunIsNamedByJobAndProcess() {
    TempApp app;
    {
        FolderLock cli;
        QCOMPARE(cli.acquire(app.dir(), "brindale-cli send --store 1 --tables 25"), FolderLock::Result::Acquired);
        QVERIFY(!claimApplicationFolder(app.dir()));
        QCOMPARE(Messages::shown().size(), size_t(1));
        const QString text = Messages::shown()[0].text;
        QCOMPARE(text, QString("The application folder is in use by brindale-cli send --store 1 --tables 25 (process %1). "
                               "Start the program again when it has ended.")
                           .arg(::getpid()));
        QCOMPARE(Messages::shown()[0].icon, MsgIcon::Exclamation);
    }
    {
        // Another copy of the program: nothing is shown.
        Messages::clearShown();
        FolderLock program;
        QCOMPARE(program.acquire(app.dir(), kProgramHolder), FolderLock::Result::Acquired);
        QVERIFY(!claimApplicationFolder(app.dir()));
        QVERIFY(Messages::shown().empty());
    }
    // The failed attempts left the lock file as its last holder wrote it.
    QCOMPARE(readLockHolder(app.dir()).job, std::string(kProgramHolder));
    // Free: the program takes the folder and keeps it for the run.
    QVERIFY(claimApplicationFolder(app.dir()));
    QCOMPARE(readLockHolder(app.dir()).pid, long(::getpid()));
    FolderLock late;
    QCOMPARE(late.acquire(app.dir(), "brindale-cli summary"), FolderLock::Result::Busy);
    QCOMPARE(late.holder().job, std::string(kProgramHolder));
}

void ProgramMessageTest::theChineseBlockGivesItsOwnText() {
    TempApp app;
    // Language index 1 is the first value of the settings file.
    std::string settings = app.read("ini/SETTING1.cfg");
    settings.replace(0, settings.find("\r\n"), " 1 ");
    app.write("ini/SETTING1.cfg", settings);
    const std::string text = folderInUseText(app.dir(), {"brindale-cli summary", 42});
    QCOMPARE(QString::fromStdString(text), QString::fromUtf8("应用程序文件夹正被 brindale-cli summary（进程 42）使用。请在其结束后再启动本程序。"));
}

QTEST_MAIN(ProgramMessageTest)
#include "program_message_test.moc"
