// Starts the tests of the interface.
#include <gmock/gmock.h>

#include <QApplication>
#include <QSettings>
#include <clocale>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // The file dialogs of the toolkit would remember folders in the home of whoever runs this.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, "/dev/null");
    const QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
