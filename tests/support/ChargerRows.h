#pragma once

#include "tests/support/AtomTest.h"

namespace zstats {

/** An atom that calls the charger. */
struct ChargerRow {
    int32_t tag;
    std::string handler;
    std::vector<std::string> methods;
    const char* event;  // when the methods answer -11, then -10
    int noServiceLine, callFailedLine;
    const char* eventOfZeros = "[0]";

    std::string warning(int line, const std::string& text) const {
        return "W0 handle" + handler + " line " + std::to_string(line) + ", " + text;
    }
    std::string callFailed() const {
        std::string all;
        for (const std::string& method : methods) all += method + " ";
        return warning(callFailedLine, all + "failed");
    }
};

class ChargerRowsTest : public AtomTest {
  protected:
    /** Expects each row's answers: without a charger, from an older one, and call by call. */
    void expectChargerRows(const std::vector<ChargerRow>& rows) {
        for (const ChargerRow& row : rows) {
            expectPulls(row.tag,
                        {"E pullerd:  Get charger service fromBinder fail",
                         row.warning(row.noServiceLine, "getIChargeService return false")});
        }
        // Of a version without methods: it only knows the interface's descriptor.
        const android::sp<android::IBinder> older(
                new Claiming("vendor.norda.hardware.charger.ICharger"));
        const auto remote = inprocess::publish(FakeCharger::kName, older);
        for (const ChargerRow& row : rows) expectPulls(row.tag, {row.callFailed()});
        remote->die();
        FakeCharger charger;
        charger.publishLocal();  // without a proxy, so that out values arrive with error statuses
        for (const ChargerRow& row : rows) expectCalls(row, charger);
        EXPECT_EQ(charger.calls(), mCalls);
    }

  private:
    void expectCalls(const ChargerRow& row, FakeCharger& charger) {
        const auto expect = [&](const std::string& answer) {
            expectPulls(row.tag, {answer});
            // All calls are made in order, also after a failure, in each of three pulls.
            for (int i = 0; i < 3; ++i) {
                mCalls.insert(mCalls.end(), row.methods.begin(), row.methods.end());
            }
        };
        for (const std::string& method : row.methods) charger.set(method, 0);
        expect(row.eventOfZeros);
        int32_t value = -11;
        for (const std::string& method : row.methods) charger.set(method, value++);
        expect(row.event);
        for (const std::string& method : row.methods) {
            charger.fail(method);
            expect(row.callFailed());
            charger.set(method, 11);
        }
    }

    std::vector<std::string> mCalls;
};

}  // namespace zstats
