#pragma once
// Emulated scales on 127.0.0.2 to 127.0.0.4 (one port) for a started program: its transfer control
// aimed at them with short time limits, and its progress window closed by `closer` once the
// transfer has ended, so that a test can click a send and go on.
#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "emulated_scale.h"
#include "gui_support.h"

namespace brindale::testing {

// Empty, with `error`, when a scale cannot start.
inline std::vector<std::unique_ptr<scaleemu::EmulatedScale>> startLoopbackScales(
    GuiApp& g, QTimer& closer, const std::function<bool(const std::string&)>& refuse, std::string& error) {
    auto scales = scaleemu::startScales({"127.0.0.2", "127.0.0.3", "127.0.0.4"}, refuse, error);
    if (scales.size() != 3) return {};
    transfer::TransferOptions to;
    to.port = scales[0]->port();
    to.connectTimeout = std::chrono::milliseconds(2000);
    to.replyTimeout = std::chrono::milliseconds(5000);
    to.scaleTimeout = std::chrono::milliseconds(20000);
    g.w().KVRDataTrans1().setOptions(to);
    QObject::connect(&closer, &QTimer::timeout, [] {
        QWidget* m = QApplication::activeModalWidget();
        if (!m || m->objectName() != "frmTransfer") return;
        auto* close = m->findChild<QPushButton*>("cmdClose");
        if (close && close->isEnabled()) close->click();
    });
    closer.start(20);
    return scales;
}

}  // namespace brindale::testing
