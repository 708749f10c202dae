#include <gtest/gtest.h>

#include "stream/AckPacing.h"

namespace {

using kovo::AckPacing;

// One read (or, with expire, the end of a trial) and what it decides.
struct Step {
    const char* what;
    int afterMs;
    bool moreOfAFrame;
    AckPacing::Acks acks;
    bool expire = false;
};

void play(const std::vector<Step>& steps) {
    AckPacing pacing;
    int64_t now = 1000;
    for (const Step& step : steps) {
        now += step.afterMs;
        EXPECT_EQ(step.expire ? pacing.expire(now) : pacing.afterRead(now, step.moreOfAFrame), step.acks)
            << step.what;
    }
}

TEST(AckPacing, HoldsAcksOnlyForACameraThatHasShownItDoesNotWaitForThem) {
    play({{"arms a trial in the middle of a frame", 0, true, AckPacing::Delay},
          {"holds this read's ACK on trial", 2, true, AckPacing::Unchanged},
          {"first proof", 2, true, AckPacing::Unchanged},
          {"second proof", 3, true, AckPacing::Unchanged},
          {"third proof", 2, true, AckPacing::Unchanged},
          {"proven: ACKs stay held at the end of a frame", 2, false, AckPacing::Unchanged},
          {"and are held anew after the pause between frames", 20, true, AckPacing::Delay},
          {"a proven camera that pauses mid-frame is put on trial again", AckPacing::kPeerWaitedMs, true,
           AckPacing::SendNow},
          {"after a pause", 5, true, AckPacing::Unchanged}});
    play({{"arms a trial", 0, true, AckPacing::Delay},
          {"on trial", 2, true, AckPacing::Unchanged},
          {"nothing came: not yet", AckPacing::kTrialMs - 1, false, AckPacing::Unchanged, true},
          {"nothing came: the held ACK goes", 1, false, AckPacing::SendNow, true},
          {"no new trial before the pause", 40, true, AckPacing::Unchanged},
          {"the next trial", AckPacing::kFirstPauseMs, true, AckPacing::Delay},
          {"on trial", 2, true, AckPacing::Unchanged},
          {"a late read fails it too", AckPacing::kTrialMs + 1, true, AckPacing::SendNow},
          {"and the pause has doubled", AckPacing::kFirstPauseMs, true, AckPacing::Unchanged},
          {"", AckPacing::kFirstPauseMs, true, AckPacing::Delay}});
}

}  // namespace
