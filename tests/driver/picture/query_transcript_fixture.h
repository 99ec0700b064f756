#pragma once

#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "kernel/base/text.h"
#include "support/driver_fixture.h"
#include "support/wire_transcript.h"

namespace kestrane {

/// Single queries on the wire of an open link, with a read limit of 500 ms and no retries.
class QueryTranscriptTest : public DriverFixture {
protected:
    QueryTranscriptTest() {
        Start();
        driver->InternalInstance();
        driver->handBox.EnsureLoaded();
        driver->handBox.tmrGetLatLong.Enabled(false);
        driver->state.g_sVersion = "VKC4-P02-08";
    }

    void Play(std::string_view script) {
        WireTranscript transcript(machine.clock, machine.pump, script);
        const auto answer = [](bool accepted) { return std::string(TrueFalse(accepted)); };
        transcript.Call("Ra", [&, answer] { return answer(driver->queries.QueryRa()); });
        transcript.Call("Dec", [&, answer] { return answer(driver->queries.QueryDec()); });
        transcript.Call("Alt", [&, answer] { return answer(driver->queries.QueryAlt()); });
        transcript.Call("Az", [&, answer] { return answer(driver->queries.QueryAz()); });
        transcript.Call("Lst", [&, answer] { return answer(driver->queries.QueryLst()); });
        transcript.Call("Time", [&, answer] { return answer(driver->queries.QueryTime()); });
        transcript.Call("Zone", [&, answer] { return answer(driver->queries.QueryTimeZone()); });
        transcript.Call("Side", [&, answer] { return answer(driver->queries.QuerySideOfMount()); });
        PlayOnOpenLink(transcript);
    }
};

}  // namespace kestrane
