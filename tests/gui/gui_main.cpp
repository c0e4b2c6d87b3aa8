// Starts the tests of the interface.
#include <gmock/gmock.h>

#include <QApplication>
#include <clocale>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
