#include <QApplication>

#include <gtest/gtest.h>

// Widget tests run on the offscreen platform with a real QApplication. CTest sets the
// platform for the runs; test discovery runs the binary without it, hence the default here.
int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
