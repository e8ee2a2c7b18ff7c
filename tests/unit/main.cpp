#include <QCoreApplication>

#include <gtest/gtest.h>

// A QCoreApplication exists for the tests that need an event loop or Qt's paths.
int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
