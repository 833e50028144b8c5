#include "application.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <QApplication>
#include <QCoreApplication>

#include "main_window.h"
#include "messages.h"
#include "screens.h"
#include "store/fatal_error.h"
#include "tree_controller.h"

namespace brindale::shell {

Application::Application(std::string appDir) { state_.appDir = std::move(appDir); }

Application::~Application() = default;

int Application::reportFatal(const std::exception& e) {
    QString text = QString::fromStdString(e.what());
    Messages::show(QObject::tr("%1\n\nThe program ends. No file was changed.").arg(text), MsgIcon::Stop);
    return 2;
}

int Application::start() {
    StatusScreen loading("frmLoading", "lblloading");
    loading.centre();
    loading.show();
    StartResult r;
    try {
        r = runStartup(state_, loading);
    } catch (const FatalError& e) {
        loading.hide();
        return reportFatal(e);
    } catch (const std::exception& e) {
        loading.hide();
        return reportFatal(e);
    }
    if (r == StartResult::MissingSourceFile) {
        loading.hide();
        Messages::show(kMissingSourceText, MsgIcon::Exclamation);
        return 1;
    }
    if (r == StartResult::LinkFailed) {
        loading.hide();
        Messages::key(state_, "linkADO", MsgIcon::Stop);
        return 1;
    }
    try {
        main_ = std::make_unique<MainWindow>(state_);
        main_->setEndHandler([this] { end(); });
        main_->loadEvent();
        // The chain's tree: built here, and on empty data the first store is made at once.
        (new TreeController(*main_))->loadEvent();
    } catch (const std::exception& e) {
        loading.hide();
        return reportFatal(e);
    }
    loading.hide();
    main_->show();
    return 0;
}

void Application::end() {
    if (ended_) return;
    ended_ = true;
    StatusScreen closing("frmEnd", "labDisplay");
    closing.centre();
    try {
        closing.setLabel(state_.text("frm_OTHER", "unloadSHOW1"));
        if (main_) main_->setEnabled(false);
        closing.show();
        closing.repaint();
        endProgram(state_, closing);
    } catch (const std::exception& e) {
        closing.hide();
        QCoreApplication::exit(reportFatal(e));
        return;
    }
    closing.hide();
    QCoreApplication::exit(0);
}

std::string applicationFolder() { return QCoreApplication::applicationDirPath().toStdString(); }

bool anotherInstanceRuns() {
    // The program's own file is the lock: nothing is created, and the lock ends with the process.
    static int fd = -1;
    if (fd >= 0) return false;
    std::string exe = QCoreApplication::applicationFilePath().toStdString();
    fd = ::open(exe.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        fd = -1;
        return true;
    }
    return false;
}

}  // namespace brindale::shell
