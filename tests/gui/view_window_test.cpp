// The view of the main window, its zoom, its keys and what it remembers.
#include <QComboBox>
#include <QToolBar>
#include <QWheelEvent>
#include <cmath>

#include "picture_orientation.h"
#include "picture_pyramid.h"
#include "test_pictures.h"
#include "view_renderer.h"
#include "window_fixture.h"

namespace {

void Roll(QWidget& view, QPointF at, int eighths) {
    QWheelEvent wheel(at, view.mapToGlobal(at), QPoint(), QPoint(0, eighths), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&view, &wheel);
}

SBxViewGeometry MakeGeometry(CBxSize<int> picture, CBxSize<int> view) {
    SBxViewGeometry geometry;
    geometry.SetView(view);
    geometry.SetPicture(picture);
    return geometry;
}

}  // namespace

using ViewWindow = CWindowTest;

TEST_F(ViewWindow, ZoomsWithinItsLimits) {
    Open(MakePhoto("photo.png"));
    for (int i = 0; i < 60; ++i) {
        Press(Qt::Key_Plus);
    }
    EXPECT_DOUBLE_EQ(Zoom(), 9.99);
    for (int i = 0; i < 120; ++i) {
        Press(Qt::Key_Minus);
    }
    EXPECT_DOUBLE_EQ(Zoom(), 0.01);
    Window().OnOriginalSize();
    EXPECT_DOUBLE_EQ(Zoom(), 1.0);
    Window().OnZoomIn();
    EXPECT_DOUBLE_EQ(Zoom(), 1.1);
    Window().OnOriginalSize();
    Window().OnZoomOut();
    EXPECT_DOUBLE_EQ(Zoom(), 0.9);
}

TEST_F(ViewWindow, TakesAZoomFromTheListAndFromTyping) {
    Open(MakePhoto("photo.png"));
    auto* const combo = Window().findChild<QComboBox*>("comboZoom");
    Window().OnComboActivated(3);
    EXPECT_DOUBLE_EQ(Zoom(), 4.0);
    EXPECT_EQ(combo->currentText(), "400%");
    const auto type = [combo](const QString& text) {
        combo->lineEdit()->selectAll();
        QTest::keyClicks(combo->lineEdit(), text);
        QTest::keyClick(combo->lineEdit(), Qt::Key_Return);
    };
    type("62,5 %");
    EXPECT_DOUBLE_EQ(Zoom(), 0.625);
    type("nonsense");
    EXPECT_DOUBLE_EQ(Zoom(), 0.625);
    EXPECT_EQ(combo->currentText(), "63%");
    type("5000");
    EXPECT_DOUBLE_EQ(Zoom(), 9.99);
}

// 99.7% is shown as 100%.
TEST_F(ViewWindow, TakesAnEntryOfTheListExactlyAndLeavesARoundedZoomThatNobodyChose) {
    Open(MakePhoto("photo.png"));
    auto* const combo = Window().findChild<QComboBox*>("comboZoom");
    const auto zoomTo = [this](double zoom) {
        Window().findChild<CBxImageArea*>()->ChangeGeometry(
            [zoom](SBxViewGeometry& geometry) { geometry.SetZoom(zoom, geometry.Centre()); });
    };
    Window().OnComboActivated(3);
    zoomTo(0.997);
    ASSERT_EQ(combo->currentText(), "100%");
    Window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&Window(), 60000));
    combo->setFocus();
    ASSERT_TRUE(combo->lineEdit()->hasFocus() || combo->hasFocus());
    Window().findChild<CBxScrollArea*>()->setFocus();
    EXPECT_DOUBLE_EQ(Zoom(), 0.997);
    QTest::keyClick(combo->lineEdit(), Qt::Key_Return);
    EXPECT_DOUBLE_EQ(Zoom(), 0.997);
    Window().OnComboActivated(0);
    EXPECT_DOUBLE_EQ(Zoom(), 1.0);
}

TEST_F(ViewWindow, TheWheelZoomsAboutThePointerInAnyFraction) {
    Open(MakePhoto("photo.png"));
    auto& view = *Window().findChild<CBxImageArea*>();
    auto& area = *Window().findChild<CBxScrollArea*>();  // the view lies in its corner
    Window().OnComboActivated(3);
    const QPointF pointer(120.0, 90.0);
    const CBxPoint<double> before = view.Geometry().ViewToPicture(view.ToViewPixels(pointer));
    Roll(area, pointer, 120);
    EXPECT_NEAR(Zoom(), 4.4, 1e-9);
    for (int i = 0; i < 8; ++i) {
        Roll(area, pointer, 15);
    }
    EXPECT_NEAR(Zoom(), 4.84, 1e-9);
    const CBxPoint<double> after = view.Geometry().ViewToPicture(view.ToViewPixels(pointer));
    EXPECT_NEAR(before.x, after.x, 1e-6);
    EXPECT_NEAR(before.y, after.y, 1e-6);
    Roll(area, pointer, -120);
    EXPECT_NEAR(Zoom(), 4.356, 1e-9);
}

TEST_F(ViewWindow, DragsWithTheMouseMovesWithTheKeysAndFitsOnADoubleClick) {
    Open(MakePhoto("photo.png"));
    auto& view = *Window().findChild<CBxImageArea*>();
    const double fitted = Zoom();
    Window().OnComboActivated(3);
    const CBxPoint<double> start = view.Geometry().m_Offset;
    QTest::mousePress(&view, Qt::LeftButton, {}, QPoint(200, 200));
    QTest::mouseMove(&view, QPoint(230, 190));
    QTest::mouseRelease(&view, Qt::LeftButton, {}, QPoint(230, 190));
    EXPECT_NEAR(view.Geometry().m_Offset.x - start.x, 30.0, 1e-9);
    EXPECT_NEAR(view.Geometry().m_Offset.y - start.y, -10.0, 1e-9);
    const CBxPoint<double> moved = view.Geometry().m_Offset;
    Press(Qt::Key_Left);
    Press(Qt::Key_Down);
    EXPECT_NEAR(view.Geometry().m_Offset.x - moved.x, -50.0, 1e-9);
    EXPECT_NEAR(view.Geometry().m_Offset.y - moved.y, 50.0, 1e-9);
    QTest::mouseDClick(&view, Qt::LeftButton, {}, QPoint(100, 100));
    EXPECT_DOUBLE_EQ(Zoom(), fitted);
    EXPECT_NEAR(fitted, std::min(view.width(), view.height()) / 400.0, 1e-9);
}

TEST_F(ViewWindow, RemembersItsPlaceAndItsToolBar) {
    Window().setGeometry(60, 70, 500, 400);
    Window().addToolBar(Qt::LeftToolBarArea, Window().findChild<QToolBar*>("mainToolBar"));
    ASSERT_TRUE(Window().close());
    EXPECT_EQ(m_Config.m_WindowRect, (CBxRect<std::int32_t>{60, 70, 560, 470}));
    MakeWindow();
    EXPECT_EQ(Window().geometry(), QRect(60, 70, 500, 400));
    EXPECT_EQ(Window().toolBarArea(Window().findChild<QToolBar*>("mainToolBar")), Qt::LeftToolBarArea);
    m_Config.m_WindowRect = {90000, 90000, 90500, 90400};
    m_Config.m_iToolbarArea = 77;
    MakeWindow();
    EXPECT_TRUE(Window().geometry().intersects(QGuiApplication::primaryScreen()->geometry()));
    EXPECT_EQ(Window().toolBarArea(Window().findChild<QToolBar*>("mainToolBar")), Qt::TopToolBarArea);
}

TEST_F(ViewWindow, WarnsOnceAfterACrashButNotOnTheFirstRun) {
    m_Config.m_bCrashedAtLastRun = true;
    Answer(QMessageBox::Ok);
    MakeWindow();
    QTest::qWaitFor([this] { return m_User.Done(); }, 60000);
    EXPECT_EQ(
        m_LastMessage,
        "<b>The application crashed last time.</b><br><br>It might be caused by insufficient memory. Please lower "
        "the number of used cores (Options), or crop the image.");
    Window().hide();
    Window().show();
    QCoreApplication::processEvents();
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    m_Config.m_bFirstRun = true;
    MakeWindow();
    QCoreApplication::processEvents();
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

// A frame in the stored picture, which was taken with the camera held upside down.
TEST_F(ViewWindow, FramesMayLieAskewAndFollowThePictureUpright) {
    CBxOwnedPic stored;
    ASSERT_EQ(stored.Allocate(100, 60, 3, 8), 0);
    CBxPicBufAPI::Zero(stored.Pic());
    auto* const image = Window().findChild<CBxImageArea*>();
    image->ShowPicture(stored.Pic(), 3, true);
    image->ChangeGeometry([](SBxViewGeometry& geometry) { geometry.SetOriginalSize(); });
    image->SetFrames({CBxFrame{{{20, 0}, {40, 20}, {20, 40}, {0, 20}}}});
    const QImage shown = image->grab().toImage();
    const CBxPoint<int> offset = image->Geometry().DrawnOffset();
    const auto isFrame = [&](int x, int y) {
        return shown.pixelColor(offset.x + 100 - x, offset.y + 60 - y).red() > 200;
    };
    for (const CBxPoint<int> middle : {CBxPoint<int>{30, 10}, {30, 30}, {10, 30}, {10, 10}}) {
        EXPECT_TRUE(isFrame(middle.x, middle.y)) << middle.x << ", " << middle.y;
    }
    for (const CBxPoint<int> beside : {CBxPoint<int>{20, 20}, {38, 2}, {70, 50}}) {
        EXPECT_FALSE(isFrame(beside.x, beside.y)) << beside.x << ", " << beside.y;
    }
    image->ShowNothing();
}

// Red is the top left corner of the scene in each of the eight.
TEST(PictureOrientation, PutsEveryWayOfHoldingACameraUpright) {
    const CBxPoint<int> redIn[] = {{0, 0}, {2, 0}, {2, 1}, {0, 1}, {0, 0}, {0, 1}, {2, 1}, {2, 0}};
    for (int orientation = 1; orientation <= 8; ++orientation) {
        CBxOwnedPic stored;
        ASSERT_EQ(stored.Allocate(3, 2, 3, 8), 0);
        CBxPicBufAPI::Zero(stored.Pic());
        const CBxPoint<int> red = redIn[orientation - 1];
        BX_PicRow<unsigned char>(stored.Pic(), red.y)[3 * red.x + 2] = 255;
        CBxOwnedPic upright;
        ASSERT_EQ(BX_PutUpright(upright, stored.Pic(), orientation), 0);
        EXPECT_EQ(upright->m_iWidth, BX_SwapsSides(orientation) ? 2 : 3);
        EXPECT_EQ(BX_PicRow<unsigned char>(upright.Pic(), 0)[2], 255) << orientation;
        const CBxPoint<double> at = BX_PutUpright(CBxPoint<double>{red.x + 0.25, red.y + 0.25}, {3, 2}, orientation);
        EXPECT_EQ(std::floor(at.x), 0.0) << orientation;
        EXPECT_EQ(std::floor(at.y), 0.0) << orientation;
    }
}

TEST(ViewGeometry, KeepsAPictureInTheViewAndASmallOneInItsMiddle) {
    SBxViewGeometry geometry = MakeGeometry({100, 50}, {400, 400});
    EXPECT_DOUBLE_EQ(geometry.m_dZoom, 4.0);
    geometry.SetZoom(8.0, {0.0, 0.0});
    geometry.Move(1e6, 1e6);
    EXPECT_DOUBLE_EQ(geometry.m_Offset.x, 0.0);
    geometry.Move(-1e6, -1e6);
    EXPECT_DOUBLE_EQ(geometry.m_Offset.x, -400.0);
    EXPECT_DOUBLE_EQ(geometry.m_Offset.y, 0.0);
    geometry.SetOriginalSize();
    EXPECT_EQ(geometry.DrawnRectangle(), (CBxRect<int>{150, 175, 250, 225}));
}

// Zoomed to any size, a picture of one colour fills its rectangle to the last pixel and nothing besides.
TEST(ViewRenderer, DrawsThePictureToItsVeryEdges) {
    CBxOwnedPic picture;
    ASSERT_EQ(picture.Allocate(301, 203, 3, 8), 0);
    CBxPicBufAPI::SetConst(picture.Pic(), 200);
    CBxPicturePyramid pyramid;
    pyramid.Build(picture.Pic(), 1);
    CBxViewRenderer renderer;
    for (const double zoom : {0.013, 0.1, 0.24, 0.37, 0.5, 0.77, 1.0, 1.3, 1.99, 2.5, 3.7, 9.99}) {
        for (const double move : {0.0, -31.0, -1e6}) {
            SBxViewGeometry geometry = MakeGeometry({301, 203}, {160, 120});
            geometry.SetZoom(zoom, {0.0, 0.0});
            geometry.Move(move, move);
            const QImage& frame = renderer.Render(pyramid, geometry, qRgb(1, 2, 3));
            const CBxRect<int> drawn = geometry.DrawnRectangle();
            for (int y = 0; y < 120; ++y) {
                for (int x = 0; x < 160; ++x) {
                    const bool inside = x >= drawn.left && x < drawn.right && y >= drawn.top && y < drawn.bottom;
                    ASSERT_EQ(frame.pixel(x, y), inside ? qRgb(200, 200, 200) : qRgb(1, 2, 3))
                        << zoom << " " << x << " " << y;
                }
            }
        }
    }
}

TEST(ViewRenderer, ShowsPixelsAsTheyAreAtFullSizeAndAsSquaresFarIn) {
    const CBxOwnedPic picture = MakeTexturedPicture(200, 150, 3);
    CBxPicturePyramid pyramid;
    pyramid.Build(picture.Pic(), 1);
    CBxViewRenderer renderer;
    for (const int zoom : {1, 4}) {
        SBxViewGeometry geometry = MakeGeometry({200, 150}, {100, 80});
        geometry.SetZoom(zoom, {50.0, 40.0});
        const QImage& frame = renderer.Render(pyramid, geometry, 0);
        const CBxPoint<int> offset = geometry.DrawnOffset();
        for (int y = 0; y < 80; ++y) {
            for (int x = 0; x < 100; ++x) {
                const unsigned char* pixel = BX_PicRow<unsigned char>(picture.Pic(), (y - offset.y) / zoom) +
                                             std::ptrdiff_t{3} * ((x - offset.x) / zoom);
                ASSERT_EQ(frame.pixel(x, y), qRgb(pixel[2], pixel[1], pixel[0])) << zoom << " " << x << " " << y;
            }
        }
    }
}

// Lines of one pixel, far too fine to be shown: without the halves some views would be black and others white.
TEST(ViewRenderer, ShowsFineLinesAsTheirMeanInAFittedView) {
    CBxOwnedPic picture;
    ASSERT_EQ(picture.Allocate(1600, 1200, 3, 8), 0);
    for (int y = 0; y < 1200; ++y) {
        for (int x = 0; x < 4800; ++x) {
            BX_PicRow<unsigned char>(picture.Pic(), y)[x] = y % 2 == 0 ? 0 : 200;
        }
    }
    CBxPicturePyramid pyramid;
    pyramid.Build(picture.Pic(), 1);
    CBxViewRenderer renderer;
    for (const int side : {137, 200, 311}) {
        const QImage& frame = renderer.Render(pyramid, MakeGeometry({1600, 1200}, {side, side}), 0);
        for (int y = side * 3 / 8; y < side * 5 / 8; ++y) {
            ASSERT_NEAR(qRed(frame.pixel(side / 2, y)), 100, 2) << side << " " << y;
        }
    }
}
