// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/smart/records/RecordJson.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vantorel {
namespace {

using testing::HasSubstr;

ATASmartValue hours()
{
    return {.id = 9,
            .name = "Power On Hours",
            .formattedValue = "17",
            .current = 99,
            .worst = 98,
            .theshold = 5,
            .type = SmartAttributeType::oldAge,
            .state = ATASmartAttributeState::failedInPast,
            .valueType = SmartValueType::string,
            .info = "35\u00B0"};
}

constexpr const char* hoursJson =
    R"({"id":9,"name":"Power On Hours","formattedValue":"17","current":99,"worst":98,"theshold":5,)"
    R"("type":"oldAge","state":"failedInPast","valueType":"string","info":"35°"})";

ATASmartObject result()
{
    return {.deviceInfo = {"M", "S", "F"},
            .smartValues = {hours()},
            .health = 96,
            .assessment = "Drive Assessment",
            .status = ATASmartAttributeState::ok,
            .temperature = {},
            .rawData = {0xFF, 0xFE, 0xFB},
            .rawThresholds = {}};
}

/// The message of the error that decoding `json` as a `Record` gives; empty when it gives none.
template <typename Record>
std::string fault(const std::string& json)
{
    try {
        (void)fromJson<Record>(json);
        return {};
    } catch (const JsonError& error) {
        return error.what();
    }
}

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    const auto place = text.find(from);
    EXPECT_NE(place, std::string::npos) << from;
    return text.replace(place, from.size(), to);
}

TEST(RecordJson, WritesEveryFieldUnderItsNameInOrder)
{
    EXPECT_EQ(toJson(hours()), hoursJson);
    EXPECT_EQ(toJson(result()),
              std::string(R"({"deviceInfo":{"model":"M","serial":"S","firmware":"F"},"smartValues":[)") + hoursJson +
                  R"(],"health":96,"assessment":"Drive Assessment","status":"ok","rawData":"//77"})");
    const NVMeSmartObject nvme{
        .deviceInfo = {"M", "S", "F", {{"1.0W", "2.0W", "3", "4", "5", "6", "7", "8"}}},
        .smartValues = {{"N", "V", SmartValueType::bytes, NVMeSmartAttributeState::warning, "I"}},
        .health = 100,
        .assessment = "A",
        .status = NVMeSmartAttributeState::failed,
        .temperature = NVMeSmartValue{"T", "37", SmartValueType::temperature, {}, ""},
        .rawData = {},
        .rawThresholds = Data{}};
    EXPECT_EQ(toJson(nvme),
              R"({"deviceInfo":{"model":"M","serial":"S","firmware":"F","powerStates":[{"maxPower":"1.0W",)"
              R"("activePower":"2.0W","readThroughput":"3","readLatency":"4","writeThroughput":"5","writeLatency":"6",)"
              R"("entryLatency":"7","exitLatency":"8"}]},"smartValues":[{"name":"N","formattedValue":"V",)"
              R"("valueType":"bytes","state":"warning","info":"I"}],"health":100,"assessment":"A","status":"failed",)"
              R"("temperature":{"name":"T","formattedValue":"37","valueType":"temperature","state":"ok","info":""},)"
              R"("rawData":"","rawThresholds":""})");
    EXPECT_EQ(fromJson<NVMeSmartObject>(toJson(nvme)), nvme);
    EXPECT_EQ(toJson(SmartObject(nvme)), toJson(nvme));
}

TEST(RecordJson, ReadsBackWhatItWrote)
{
    ATASmartObject full = result();
    full.temperature = hours();
    full.rawThresholds = Data{1, 2};
    full.health = 18446744073709551615U;
    EXPECT_EQ(fromJson<ATASmartObject>(toJson(full)), full);
    EXPECT_EQ(fromJson<ATASmartObject>(toJson(result())), result());
    const NVMeSmartError error =
        fromJson<NVMeSmartError>(R"({"status":3,"cmdID":65535,"count":18446744073709551615,"sqID":1})");
    EXPECT_EQ(error, (NVMeSmartError{18446744073709551615U, 1, 65535, 3}));
}

TEST(RecordJson, AnOptionalKeyMayBeNullOrMissingAndOtherKeysAreNotLookedAt)
{
    const std::string json = toJson(result());
    EXPECT_EQ(
        fromJson<ATASmartObject>(replaced(json, R"("health":96)", R"("health":96,"temperature":null,"extra":[{}])")),
        result());
}

TEST(RecordJson, EveryFaultIsToldWithItsPlace)
{
    const std::string value = hoursJson;
    const struct {
        std::string json;
        const char* message;
    } faults[] = {
        {replaced(value, "theshold", "threshold"), "theshold (ATASmartValue): is missing"},
        {replaced(value, R"("id":9)", R"("id":256)"), "id (ATASmartValue): 256 does not fit 0 to 255"},
        {replaced(value, R"("id":9)", R"("id":-1)"), "id (ATASmartValue): -1 does not fit 0 to 255"},
        {replaced(value, R"("id":9)", R"("id":9.5)"), "id (ATASmartValue): 9.5 does not fit 0 to 255"},
        {replaced(value, R"("id":9)", R"("id":"9")"), "id (ATASmartValue): is string where a number is wanted"},
        {replaced(value, R"("id":9)", R"("id":true)"), "id (ATASmartValue): is boolean where a number is wanted"},
        {replaced(value, R"("id":9)", R"("id":null)"), "id (ATASmartValue): is null"},
        {replaced(value, R"("oldAge")", R"("OldAge")"), "type (ATASmartValue): no case has the text \"OldAge\""},
        {replaced(value, R"("17")", "17"), "formattedValue (ATASmartValue): is number where a text is wanted"},
        {"[]", "the document (ATASmartValue): is array where an object is wanted"},
        {"{", "parse error"},
        {"", "parse error"},
        {value + "x", "parse error"},
        {replaced(value, "17", "\xFF"), "ill-formed UTF-8"},
    };
    for (const auto& [json, message] : faults)
        EXPECT_THAT(fault<ATASmartValue>(json), HasSubstr(message)) << json;

    EXPECT_THAT(fault<ATASmartObject>(replaced(toJson(result()), R"("current":99)", R"("current":999)")),
                HasSubstr("smartValues[0].current (ATASmartValue): 999 does not fit 0 to 255"));
    EXPECT_THAT(fault<ATASmartObject>(replaced(toJson(result()), "//77", "//7")),
                HasSubstr("rawData (ATASmartObject): is no Base64"));
    EXPECT_THAT(fault<NVMeSmartError>(R"({"count":18446744073709551616,"sqID":1,"cmdID":1,"status":1})"),
                HasSubstr("count (NVMeSmartError): 1.8446744073709552e+19 does not fit 0 to 18446744073709551615"));
}

TEST(RecordJson, BytesThatAreNoUtf8DoNotSpoilTheDocument)
{
    ATADeviceInfo device{"A\xFFZ", "", ""};
    EXPECT_EQ(toJson(device), "{\"model\":\"A\uFFFDZ\",\"serial\":\"\",\"firmware\":\"\"}");
}

TEST(RecordJson, DictionaryHoldsTheSameFormAsATable)
{
    const auto table = dictionary(result());
    ASSERT_TRUE(table);
    EXPECT_EQ(table->get<int>("health"), 96);
    EXPECT_EQ(table->lookUp("deviceInfo")->table()->get<std::string>("serial"), "S");
    EXPECT_EQ(table->lookUp("smartValues")->array()->at(0).table()->get<std::string>("state"), "failedInPast");
    EXPECT_EQ(table->get<std::string>("rawData"), "//77");
    EXPECT_FALSE(table->contains("temperature"));
}

} // namespace
} // namespace vantorel
