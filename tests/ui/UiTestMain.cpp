// The entry point of the widget tests: GoogleTest inside a QApplication.
#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
