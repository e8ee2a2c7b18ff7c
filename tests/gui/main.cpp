#include <QApplication>

#include <gtest/gtest.h>

// Widget tests run on the offscreen platform with a real QApplication. CTest sets it; the
// default here covers test discovery at build time and runs by hand.
int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
