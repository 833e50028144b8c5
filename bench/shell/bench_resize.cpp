// resizeForm over the real main window (frmMain, over 200 controls), offscreen: one resize of the
// client area places every control by its Tag and, when the height changes, sets every font.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <memory>

#include "shell/form_scaling.h"
#include "shell/main_window.h"
#include "shell/program_state.h"

using namespace brindale::shell;

namespace {

struct Window {
    ProgramState state;
    std::unique_ptr<MainWindow> w;
    QSize design;
    Window() {
        state.appDir = BRINDALE_APP_DIR;
        state.lang.loadAll(state.appDir, "Standard");
        state.prepareCodec();
        w = std::make_unique<MainWindow>(state);
        w->loadEvent();
        w->show();
        for (int i = 0; i < 5; ++i) QApplication::processEvents();
        design = w->centralWidget()->size();
    }
};

Window& window() {
    static Window w;
    return w;
}

// True when a resize of the client area reached the controls (the measured work really runs).
bool resizeReachesControls(Window& win) {
    win.w->centralWidget()->resize(win.design);
    QWidget* probe = nullptr;
    for (QWidget* c : scaledControls(win.w.get()))
        if (c->geometry().width() > 10) probe = c;
    if (!probe) return false;
    const int before = probe->geometry().width();
    win.w->centralWidget()->resize(win.design.width() * 2, win.design.height());
    const int after = probe->geometry().width();
    win.w->centralWidget()->resize(win.design);
    return after >= before * 2 - 1 && after <= before * 2 + 1;
}

// Width only: every control moves, the fonts stay.
void BM_ResizeFormWidth(benchmark::State& st) {
    Window& win = window();
    if (!resizeReachesControls(win)) {
        st.SkipWithError("the resize did not place the controls");
        return;
    }
    const QSize sizes[] = {QSize(win.design.width() * 2, win.design.height()), win.design};
    size_t i = 0;
    for (auto _ : st) {
        win.w->centralWidget()->resize(sizes[i++ % 2]);
    }
    st.counters["controls"] = static_cast<double>(scaledControls(win.w.get()).size());
}
BENCHMARK(BM_ResizeFormWidth)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// Height too: every control moves and takes a new font size.
void BM_ResizeFormHeight(benchmark::State& st) {
    Window& win = window();
    const QSize sizes[] = {QSize(win.design.width() * 3 / 2, win.design.height() * 3 / 2), win.design};
    size_t i = 0;
    for (auto _ : st) {
        win.w->centralWidget()->resize(sizes[i++ % 2]);
    }
    st.counters["controls"] = static_cast<double>(scaledControls(win.w.get()).size());
}
BENCHMARK(BM_ResizeFormHeight)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// The same with the paint and layout requests that follow a resize handled, as the event loop
// would before the next resize.
void BM_ResizeFormHeightAndEvents(benchmark::State& st) {
    Window& win = window();
    const QSize sizes[] = {QSize(win.design.width() * 3 / 2, win.design.height() * 3 / 2), win.design};
    size_t i = 0;
    for (auto _ : st) {
        win.w->centralWidget()->resize(sizes[i++ % 2]);
        QApplication::processEvents();
    }
}
BENCHMARK(BM_ResizeFormHeightAndEvents)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
