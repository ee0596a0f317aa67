// The colour picker: reading typed colours, the HSB round trip, the controls driven with the
// mouse and keyboard, and the two suppression flags that keep the bound colour from echoing.
#include "ui/components/ColorPickerPopover.h"
#include "ui/components/ColorSwatch.h"
#include "ui/components/HueStrip.h"
#include "ui/components/SatBriPad.h"

#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

QString hexOf(const std::optional<ColorPickerPopover::Hsb>& hsb)
{
    if (!hsb)
        return QStringLiteral("none");
    const RgbColor rgb = ColorPickerPopover::rgbFromHsb(hsb->hue, hsb->sat, hsb->bri);
    return ColorPickerPopover::hexDigits(rgb.red, rgb.green, rgb.blue);
}

QString hexOf(const RgbColor& color)
{
    return ColorPickerPopover::hexDigits(color.red, color.green, color.blue);
}

// The owner's side of the binding: a stored colour that announces every assignment back to the
// picker synchronously, the way the model's published fields do.
struct BoundColor {
    RgbColor value{0.2, 0.4, 0.6, 1.0};
    int writes = 0;
    ColorPickerPopover* picker = nullptr;

    ColorPickerPopover::Binding binding()
    {
        return {[this] { return value; },
                [this](const RgbColor& color) {
                    // Stored as bytes, so what comes back differs slightly from what went out.
                    value = ColorSwatch::colorOf(hexOf(color));
                    ++writes;
                    if (picker)
                        picker->boundColorChanged(value);
                }};
    }
    void changeElsewhere(const RgbColor& color)
    {
        value = color;
        picker->boundColorChanged(value);
    }
};

// Lets the queued flag resets run.
void nextTurn()
{
    QCoreApplication::processEvents();
}

// A shown picker bound to a BoundColor.
struct BoundPicker : ::testing::Test {
    BoundColor bound;
    ColorPickerPopover picker{bound.binding()};

    BoundPicker()
    {
        bound.picker = &picker;
        picker.show();
        nextTurn();
    }
};

} // namespace

TEST(ColorPickerParse, acceptedAndRejectedTexts)
{
    for (const char* text :
         {"#ff1744", "FF1744", "  FF1744 \n", "\tFF1744\r\n", "F#F1744", "##FF1744", "FF1744#"})
        EXPECT_EQ(hexOf(ColorPickerPopover::parseHex(QString::fromLatin1(text))),
                  QStringLiteral("FF1744"))
            << text;
    // What an unsigned reader accepts: a plus sign, and a minus sign only before zero.
    EXPECT_EQ(hexOf(ColorPickerPopover::parseHex(QStringLiteral("+12345"))),
              QStringLiteral("012345"));
    EXPECT_EQ(hexOf(ColorPickerPopover::parseHex(QStringLiteral("-00000"))),
              QStringLiteral("000000"));
    for (const char* text : {"F17", "#F17", "FF17440", "", "######", "FF 174", "FF174G", "0xFF17",
                             "-12345", "+-1234", "1234+5"})
        EXPECT_FALSE(ColorPickerPopover::parseHex(QString::fromLatin1(text))) << text;
}

TEST(ColorPickerConversions, swatchesRoundTripAndGreysHaveNoHue)
{
    for (const QStringList& row : ColorPickerPopover::palettes()) {
        for (const QString& digits : row) {
            EXPECT_EQ(hexOf(ColorPickerPopover::parseHex(digits)), digits);
            EXPECT_EQ(hexOf(ColorSwatch::colorOf(digits)), digits);
        }
    }

    const auto grey = ColorPickerPopover::hsbFromRgb(0.5, 0.5, 0.5);
    EXPECT_EQ(std::tuple(grey.hue, grey.sat, grey.bri), std::tuple(0.0, 0.0, 0.5));
    // Red with more blue than green lies just below 1, not below 0.
    const auto pink = ColorPickerPopover::hsbFromRgb(1.0, 0.0, 0.5);
    EXPECT_NEAR(pink.hue, 11.0 / 12.0, 1e-12);
    EXPECT_EQ(ColorPickerPopover::hsbFromRgb(0, 0, 0).sat, 0.0);

    // Hues outside 0…1 wrap round.
    EXPECT_EQ(hexOf(ColorPickerPopover::rgbFromHsb(-1.0 / 3.0, 1, 1)),
              hexOf(ColorPickerPopover::rgbFromHsb(2.0 / 3.0, 1, 1)));
    EXPECT_EQ(hexOf(ColorPickerPopover::rgbFromHsb(0.9999, 1, 1)), QStringLiteral("FF0000"));
    // Halves round away from zero.
    EXPECT_EQ(ColorPickerPopover::hexDigits(0.5 / 255.0, 1.5 / 255.0, 254.5 / 255.0),
              QStringLiteral("0102FF"));
}

TEST_F(BoundPicker, swatchClickWritesOnce)
{
    ASSERT_EQ(picker.swatches().size(), 55);
    ColorSwatch* stone = picker.swatches().last();
    QTest::mouseClick(stone, Qt::LeftButton);
    EXPECT_EQ(picker.hexText(), QStringLiteral("57534E"));
    EXPECT_EQ(hexOf(bound.value), QStringLiteral("57534E"));
    EXPECT_EQ(bound.writes, 1) << "one click writes the colour once";
    const QImage drawn = stone->grab().toImage();
    EXPECT_EQ(drawn.pixelColor(9, 9), QColor(0x57, 0x53, 0x4E));
}

TEST_F(BoundPicker, dragsOnThePadAndTheStrip)
{
    SatBriPad* pad = picker.satBriPad();
    HueStrip* strip = picker.hueStrip();
    const QPointF padOrigin = SatBriPad::padRect().topLeft();

    // Pure red first, from the strip's left end and the pad's top-right corner.
    QTest::mousePress(strip, Qt::LeftButton, {},
                      HueStrip::stripRect().topLeft().toPoint() + QPoint(-4, 7));
    QTest::mouseRelease(strip, Qt::LeftButton, {}, HueStrip::stripRect().topLeft().toPoint());
    EXPECT_EQ(picker.hue(), 0.0);
    QTest::mousePress(pad, Qt::LeftButton, {}, (padOrigin + QPointF(220, 0)).toPoint());
    EXPECT_EQ(picker.sat(), 1.0);
    EXPECT_EQ(picker.bri(), 1.0);
    EXPECT_EQ(hexOf(bound.value), QStringLiteral("FF0000"));
    // Dragging out past the bottom-left corner clamps to black.
    QTest::mouseMove(pad, (padOrigin + QPointF(-30, 200)).toPoint());
    QTest::mouseRelease(pad, Qt::LeftButton, {}, (padOrigin + QPointF(-30, 200)).toPoint());
    EXPECT_EQ(picker.sat(), 0.0);
    EXPECT_EQ(picker.bri(), 0.0);
    EXPECT_EQ(hexOf(bound.value), QStringLiteral("000000"));

    // The keyboard moves the marker in steps of 0.1 with Shift, else 0.01.
    QTest::mouseClick(pad, Qt::LeftButton, {}, (padOrigin + QPointF(110, 70)).toPoint());
    QTest::keyClick(pad, Qt::Key_Up, Qt::ShiftModifier);
    QTest::keyClick(pad, Qt::Key_Left);
    EXPECT_NEAR(picker.sat(), 0.49, 1e-9);
    EXPECT_NEAR(picker.bri(), 0.6, 1e-9);

    // The strip's right end, and beyond it, stop short of a full turn.
    const QPoint stripEnd = HueStrip::stripRect().topRight().toPoint() + QPoint(0, 7);
    QTest::mousePress(strip, Qt::LeftButton, {}, stripEnd - QPoint(110, 0));
    EXPECT_NEAR(picker.hue(), 0.5, 1e-9);
    QTest::mouseMove(strip, stripEnd + QPoint(40, 0));
    QTest::mouseRelease(strip, Qt::LeftButton, {}, stripEnd + QPoint(40, 0));
    EXPECT_EQ(picker.hue(), 0.9999);
    // The keyboard reaches the same limits.
    QTest::keyClick(strip, Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(picker.hue(), 0.9999);
    QTest::keyClick(strip, Qt::Key_Left);
    EXPECT_NEAR(picker.hue(), 0.9899, 1e-12);

    // The pad shows the hue at its top-right and black along its bottom.
    nextTurn();
    const QImage image = pad->grab().toImage();
    const QColor topRight = image.pixelColor((padOrigin + QPointF(217, 3)).toPoint());
    EXPECT_GT(topRight.red(), 240);
    EXPECT_LT(topRight.green(), 20);
    EXPECT_LT(image.pixelColor((padOrigin + QPointF(60, 139)).toPoint()).value(), 10);
}

TEST_F(BoundPicker, hexFieldCommitsOnReturnOnly)
{
    EXPECT_EQ(picker.hexText(), QStringLiteral("336699")) << "loaded from the binding when shown";
    QLineEdit* field = picker.hexField();

    field->setFocus();
    field->selectAll();
    QTest::keyClicks(field, QStringLiteral("000000"));
    EXPECT_EQ(picker.hexText(), QStringLiteral("000000"));
    EXPECT_EQ(hexOf(bound.value), QStringLiteral("336699")) << "typing alone changes nothing";
    EXPECT_EQ(bound.writes, 0);
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(hexOf(bound.value), QStringLiteral("000000"));
    // The pad's marker follows the committed value.
    EXPECT_EQ(picker.satBriPad()->sat(), 0.0);
    EXPECT_EQ(picker.satBriPad()->bri(), 0.0);
    nextTurn();

    // A committed value in another spelling comes back in canonical form.
    field->selectAll();
    QTest::keyClicks(field, QStringLiteral(" #ff1744 "));
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(field->text(), QStringLiteral("FF1744"));
    EXPECT_EQ(hexOf(bound.value), QStringLiteral("FF1744"));
    nextTurn();

    // Invalid text stays as typed and changes nothing.
    const int writes = bound.writes;
    field->selectAll();
    QTest::keyClicks(field, QStringLiteral("F17"));
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(field->text(), QStringLiteral("F17"));
    EXPECT_EQ(bound.writes, writes);
    EXPECT_EQ(hexOf(bound.value), QStringLiteral("FF1744"));
}

TEST_F(BoundPicker, changesDoNotEcho)
{
    // A change from elsewhere updates the picker without being written back.
    bound.changeElsewhere({0.0, 0.0, 1.0, 1.0});
    EXPECT_NEAR(picker.hue(), 2.0 / 3.0, 1e-12);
    EXPECT_EQ(picker.hexText(), QStringLiteral("0000FF"));
    EXPECT_EQ(bound.writes, 0);
    nextTurn();

    // A drag writes the colour; the owner's echo (rounded to bytes) is not read back, so the
    // exact dragged state stays.
    const QPointF padOrigin = SatBriPad::padRect().topLeft();
    QTest::mouseClick(picker.satBriPad(), Qt::LeftButton, {},
                      (padOrigin + QPointF(77, 33)).toPoint());
    const double sat = picker.sat();
    const double bri = picker.bri();
    EXPECT_EQ(bound.writes, 1);
    EXPECT_NEAR(sat, 77.0 / 220.0, 1e-12);
    EXPECT_NEAR(bri, 1.0 - 33.0 / 140.0, 1e-12);
    nextTurn();

    // Loading a grey drops the hue shown before.
    bound.changeElsewhere({0.5, 0.5, 0.5, 1.0});
    EXPECT_EQ(picker.hue(), 0.0);
    EXPECT_EQ(picker.hexText(), QStringLiteral("808080"));
    EXPECT_EQ(picker.hueStrip()->hue(), 0.0);
    EXPECT_EQ(bound.writes, 1);
}
