#include "input/gui/MoreMenuView.h"
#include "input/gui/TimeInputView.h"
#include "move/gui/MoveInputView.h"
#include "platform/fake/VirtualClock.h"

#include <QLineEdit>
#include <QMouseEvent>
#include <QTest>

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

const QByteArray home = "/home/ana";

FolderMatch match(const QByteArray &relative, int lastMatchedSegment)
{
    FolderMatch result;
    result.path = home + '/' + relative;
    result.segments = relative.split('/');
    result.lastMatchedSegmentIndex = lastMatchedSegment;
    return result;
}

// Counts each callback of a view.
struct Calls {
    int submit = 0;
    int cancel = 0;
    int createNew = 0;
    int browse = 0;
    QStringList queries;
};

struct MoveView : ::testing::Test {
    MoveInputViewModel model{home};
    MoveInputView view{model};
    Calls calls;

    MoveView()
    {
        view.resize(500, 200);
        view.onQueryChanged = [this](const QString &query) { calls.queries << query; };
        view.onSubmit = [this] { ++calls.submit; };
        view.onCancel = [this] { ++calls.cancel; };
        view.onCreateNew = [this] { ++calls.createNew; };
        view.onBrowse = [this] { ++calls.browse; };
        model.reset({home + "/Documents", home + "/Work/Clients", home + "/Pictures"});
    }
};

TEST_F(MoveView, TypingGoesIntoTheModelAndAResetClearsTheField)
{
    QTest::keyClicks(&view.field(), QStringLiteral("doc inv"));
    EXPECT_EQ(model.query(), "doc inv");
    ASSERT_EQ(calls.queries.size(), 7);
    EXPECT_EQ(calls.queries.last(), "doc inv");
    EXPECT_FALSE(model.showsRecent());

    model.reset({});
    EXPECT_TRUE(view.field().text().isEmpty());
}

TEST_F(MoveView, ArrowsMoveTheHighlightWithinTheRows)
{
    QTest::keyClick(&view.field(), Qt::Key_Up);
    EXPECT_EQ(model.selectedIndex(), 0);
    for (int press = 0; press < 4; ++press)
        QTest::keyClick(&view.field(), Qt::Key_Down);
    EXPECT_EQ(model.selectedIndex(), 2);
    EXPECT_EQ(model.selectedURL(), home + "/Pictures");
    QTest::keyClick(&view.field(), Qt::Key_Up);
    EXPECT_EQ(model.selectedURL(), home + "/Work/Clients");
    EXPECT_EQ(calls.submit + calls.cancel, 0);
}

TEST_F(MoveView, ReturnEnterEscapeAndTheControlKeysReachTheirCallbacks)
{
    QTest::keyClick(&view.field(), Qt::Key_Return);
    QTest::keyClick(&view.field(), Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(calls.submit, 2);
    QTest::keyClick(&view.field(), Qt::Key_Escape);
    EXPECT_EQ(calls.cancel, 1);
    QTest::keyClick(&view.field(), Qt::Key_N, Qt::ControlModifier);
    QTest::keyClick(&view.field(), Qt::Key_B, Qt::ControlModifier);
    EXPECT_EQ(calls.createNew, 1);
    EXPECT_EQ(calls.browse, 1);

    // Only Ctrl alone counts; with Shift the keys are typed or ignored like any other.
    QTest::keyClick(&view.field(), Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
    QTest::keyClick(&view.field(), Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_EQ(calls.createNew, 1);
    EXPECT_EQ(calls.submit, 2);

    // The handled keys never end up as text.
    EXPECT_TRUE(view.field().text().isEmpty());
}

TEST_F(MoveView, ClickingARowHighlightsAndSubmitsIt)
{
    const QRectF second = view.rowRect(1);
    ASSERT_FALSE(second.isEmpty());
    QTest::mouseClick(&view, Qt::LeftButton, {}, second.center().toPoint());
    EXPECT_EQ(model.selectedIndex(), 1);
    EXPECT_EQ(calls.submit, 1);

    // Below the last row nothing is hit.
    QTest::mouseClick(&view, Qt::LeftButton, {}, QPoint(250, int(view.rowRect(2).bottom()) + 4));
    EXPECT_EQ(calls.submit, 1);
}

TEST_F(MoveView, TheCreateRowAppearsForATypedQueryAndSitsUnderTheMatches)
{
    EXPECT_TRUE(view.createRowRect().isEmpty());
    QTest::keyClicks(&view.field(), QStringLiteral("doc inv"));
    model.setResults({match("Documents/Invoices", 1)});
    model.clampSelection();
    const QRectF create = view.createRowRect();
    ASSERT_FALSE(create.isEmpty());
    EXPECT_GE(create.top(), view.rowRect(0).bottom());
    EXPECT_LE(create.bottom(), model.panelHeight());
    EXPECT_EQ(model.panelHeight(), 52 + 13 + 32 + 28);

    QTest::mouseClick(&view, Qt::LeftButton, {}, create.center().toPoint());
    EXPECT_EQ(calls.createNew, 1);
    EXPECT_EQ(model.newFolderURL(), home + "/Documents/inv");

    // A refused folder keeps its row, which then only says why.
    view.field().clear();
    QTest::keyClicks(&view.field(), QStringLiteral(".."));
    model.setResults({});
    ASSERT_FALSE(view.createRowRect().isEmpty());
    EXPECT_FALSE(model.newFolder().refusal.isEmpty());
    QTest::mouseClick(&view, Qt::LeftButton, {}, view.createRowRect().center().toPoint());
    EXPECT_EQ(calls.createNew, 1);
}

struct TimeView : ::testing::Test {
    VirtualClock clock{QDateTime(QDate(2025, 11, 14), QTime(10, 0)).toMSecsSinceEpoch() / 1000.0};
    TimeInputViewModel model;
    TimeInputView view{model, clock};
    Calls calls;
    int queryChanges = 0;

    TimeView()
    {
        view.onQueryChanged = [this] { ++queryChanges; };
        view.onSubmit = [this] { ++calls.submit; };
        view.onCancel = [this] { ++calls.cancel; };
    }
};

TEST_F(TimeView, ShowsTheHintUntilTheTextParsesThenTheExpiry)
{
    QTest::keyClicks(&view.field(), QStringLiteral("2"));
    EXPECT_EQ(model.query(), "2");
    EXPECT_FALSE(model.parsed());
    EXPECT_EQ(view.statusText(), TimeInputViewModel::hintText());

    QTest::keyClicks(&view.field(), QStringLiteral("h"));
    ASSERT_TRUE(model.parsed());
    EXPECT_EQ(queryChanges, 2);
    EXPECT_TRUE(view.statusText().startsWith(QStringLiteral("→ 2h · Expires 12"))) << view.statusText().toStdString();
    EXPECT_TRUE(view.statusText().endsWith(QStringLiteral(" today")));
    EXPECT_FALSE(view.statusText().contains(QStringLiteral(":00:00"))) << "an expiry needs no seconds";

    // The preview follows the clock at every render.
    clock.advance(13 * 3600);
    EXPECT_TRUE(view.statusText().endsWith(QStringLiteral(" tomorrow")));
}

TEST_F(TimeView, ReturnSubmitsEscapeCancelsAndAResetEmptiesTheField)
{
    QTest::keyClicks(&view.field(), QStringLiteral("30 min"));
    QTest::keyClick(&view.field(), Qt::Key_Return);
    QTest::keyClick(&view.field(), Qt::Key_Enter, Qt::KeypadModifier);
    QTest::keyClick(&view.field(), Qt::Key_Escape);
    EXPECT_EQ(calls.submit, 2);
    EXPECT_EQ(calls.cancel, 1);
    EXPECT_EQ(view.field().text(), "30 min");

    model.reset();
    EXPECT_TRUE(view.field().text().isEmpty());
    EXPECT_EQ(view.statusText(), TimeInputViewModel::hintText());
}

struct MoreView : ::testing::Test {
    MoreMenuViewModel model;
    MoreMenuView view{model};
    std::vector<MoreMenuItem::Action> selected;
    int activations = 0;
    int cancels = 0;

    MoreView()
    {
        view.resize(500, view.panelHeight());
        view.onSelect = [this](MoreMenuItem::Action action) { selected.push_back(action); };
        view.onActivateSelection = [this] { ++activations; };
        view.onCancel = [this] { ++cancels; };
    }
};

TEST_F(MoreView, ArrowsStopAtTheEndsAndReturnActivatesTheSelection)
{
    EXPECT_EQ(view.panelHeight(), 154);
    QTest::keyClick(&view, Qt::Key_Up);
    EXPECT_EQ(model.selectedAction(), MoreMenuItem::Action::open);
    for (int press = 0; press < 4; ++press)
        QTest::keyClick(&view, Qt::Key_Down);
    EXPECT_EQ(model.selectedAction(), MoreMenuItem::Action::delete_);

    QTest::keyClick(&view, Qt::Key_Return);
    QTest::keyClick(&view, Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(activations, 2);
    QTest::keyClick(&view, Qt::Key_Escape);
    EXPECT_EQ(cancels, 1);
    EXPECT_TRUE(selected.empty());
}

TEST_F(MoreView, SuperShiftLettersRunTheirRowAndOtherCombinationsDoNothing)
{
    const Qt::KeyboardModifiers superShift = Qt::MetaModifier | Qt::ShiftModifier;
    QTest::keyClick(&view, Qt::Key_C, superShift);
    QTest::keyClick(&view, Qt::Key_O, superShift);
    QTest::keyClick(&view, Qt::Key_S, superShift);
    QTest::keyClick(&view, Qt::Key_Backspace, superShift);
    EXPECT_EQ(selected, (std::vector{MoreMenuItem::Action::copyAndDelete, MoreMenuItem::Action::open,
                                     MoreMenuItem::Action::shareAndDelete, MoreMenuItem::Action::delete_}));

    selected.clear();
    QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
    QTest::keyClick(&view, Qt::Key_C, Qt::MetaModifier);
    QTest::keyClick(&view, Qt::Key_C, superShift | Qt::AltModifier);
    QTest::keyClick(&view, Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_TRUE(selected.empty());
    EXPECT_EQ(activations, 0);
}

TEST_F(MoreView, ThePointerSelectsAndAClickRunsTheRow)
{
    const QPointF third = view.rowRect(2).center();
    QMouseEvent move(QEvent::MouseMove, third, view.mapToGlobal(third), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &move);
    EXPECT_EQ(model.selectedIndex(), 2);
    QTest::mouseClick(&view, Qt::LeftButton, {}, view.rowRect(3).center().toPoint());
    EXPECT_EQ(selected, std::vector{MoreMenuItem::Action::delete_});
}

} // namespace
