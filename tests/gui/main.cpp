#include <QApplication>

#include <gtest/gtest.h>

// Widget tests run on the offscreen platform (set by CTest) with a real QApplication.
int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
