// Frames that are read where they lie.
#include "tests/supervisor/layer.h"

namespace {

class Borrowed : public LayerTest {
protected:
    const uint16_t* pixels = nullptr;
    QvnsMetadata about = {};

    void TakeWindow()
    {
        QvnsExposure window = Light(0.1);
        window.X = window.Y = 1;
        window.Width = 4;
        window.Height = 2;
        ASSERT_EQ(qvns_start_exposure(0, &window, nullptr), 0);
        ASSERT_EQ(qvns_wait(0, 0, 60.0), 0);
    }

    std::vector<uint16_t> Seen() const { return {pixels, pixels + 8}; }

    std::vector<uint16_t> Wanted()
    {
        return Expected(Window(BriarCamera, ReadRule::Lines, 1, 1), 0);
    }
};

} // namespace

TEST_F(Borrowed, FrameIsReadWhereItLiesAndKeptUntilItIsGivenBack)
{
    OpenCamera();
    TakeWindow();
    ASSERT_EQ(qvns_borrow(0, 1, &pixels, &about), 0);
    EXPECT_EQ(about.Width, 4);
    EXPECT_EQ(about.Height, 2);
    EXPECT_EQ(Seen(), Wanted());
    const QvnsExposure next = Light(0.1);
    EXPECT_EQ(qvns_start_exposure(0, &next, nullptr), QVNS_ERROR_BUSY);
    EXPECT_EQ(Seen(), Wanted());
    EXPECT_EQ(qvns_return(0), 0);
    TakeWindow();
    ASSERT_EQ(qvns_borrow(0, 0, &pixels, nullptr), 0);
    EXPECT_EQ(Seen(), Wanted());
    EXPECT_EQ(qvns_return(0), 0);
}

TEST_F(Borrowed, EachBorrowingIsGivenBack)
{
    OpenCamera();
    TakeWindow();
    ASSERT_EQ(qvns_borrow(0, 0, &pixels, nullptr), 0);
    ASSERT_EQ(qvns_borrow(0, 0, &pixels, nullptr), 0);
    EXPECT_EQ(qvns_return(0), 0);
    const QvnsExposure next = Light(0.1);
    EXPECT_EQ(qvns_start_exposure(0, &next, nullptr), QVNS_ERROR_BUSY);
    EXPECT_EQ(qvns_return(0), 0);
    EXPECT_EQ(qvns_return(0), QVNS_ERROR_NO_FRAME);
    EXPECT_EQ(qvns_start_exposure(0, &next, nullptr), 0);
}

TEST_F(Borrowed, FrameOutlivesTheCloseOfItsCamera)
{
    OpenCamera();
    TakeWindow();
    ASSERT_EQ(qvns_borrow(0, 0, &pixels, nullptr), 0);
    ASSERT_EQ(qvns_close(0, 0.0), 0);
    EXPECT_EQ(Seen(), Wanted());
    EXPECT_EQ(qvns_return(0), 0);
}

// The function comes back when its camera has been given up, which closes it.
TEST_F(Borrowed, FrameOutlivesTheLossOfItsCamera)
{
    OpenCamera();
    TakeWindow();
    ASSERT_EQ(qvns_borrow(0, 0, &pixels, nullptr), 0);
    WatchAsAThread(60.0);
    const auto hang = [](int32_t, void*) {
        QV_Delay(30'000);
        return 0;
    };
    EXPECT_EQ(qvns_run(0, hang, nullptr, 0.0, 0.0), QVNS_ERROR_LOST);
    qvns_idle(1.0);
    ASSERT_EQ(StateOf(0).Camera, QVNS_CAMERA_CLOSED);
    EXPECT_EQ(Seen(), Wanted());
    const QvnsOpen open = Request(BriarCamera);
    ASSERT_EQ(qvns_open(0, &open), 0);
    const QvnsExposure next = Light(0.1);
    EXPECT_EQ(qvns_start_exposure(0, &next, nullptr), QVNS_ERROR_BUSY);
    EXPECT_EQ(Seen(), Wanted());
    EXPECT_EQ(qvns_return(0), 0);
    EXPECT_EQ(qvns_return(0), QVNS_ERROR_NO_FRAME);
    TakeWindow();
}

TEST_F(Borrowed, RecoveryKeepsTheFrame)
{
    OpenCamera();
    TakeWindow();
    ASSERT_EQ(qvns_borrow(0, 0, &pixels, nullptr), 0);
    ASSERT_EQ(qvns_recover(0, 0.0), 0);
    EXPECT_EQ(Seen(), Wanted());
    EXPECT_EQ(qvns_return(0), 0);
    EXPECT_EQ(qvns_ready(0, 1), 1);
}

TEST_F(Borrowed, NothingIsLentThatIsNotThere)
{
    OpenCamera();
    EXPECT_EQ(qvns_borrow(0, 0, &pixels, nullptr), QVNS_ERROR_NO_FRAME);
    TakeWindow();
    EXPECT_EQ(qvns_borrow(0, 2, &pixels, nullptr), QVNS_ERROR_NO_FRAME);
    EXPECT_EQ(qvns_borrow(0, 1, nullptr, nullptr), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_borrow(8, 0, &pixels, nullptr), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_return(-1), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_return(8), QVNS_ERROR_ARGUMENT);
    EXPECT_EQ(qvns_return(0), QVNS_ERROR_NO_FRAME);
    EXPECT_EQ(pixels, nullptr);
}
