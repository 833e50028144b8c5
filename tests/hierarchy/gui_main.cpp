// GoogleTest with a QApplication: the windows need one. Without a display the tests run
// offscreen, so that listing and running them works anywhere.
#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    return RUN_ALL_TESTS();
}
