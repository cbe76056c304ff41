#include "rig/check.h"

#include <gmock/gmock.h>

#include "host/rig_fixture.h"
#include "system/modules.h"

namespace {

using host_test::good_rig;
using host_test::With;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

class CheckTest : public host_test::RigFixture
{
protected:
    /// The faults of a rig as the user reads them, of a file called "rig".
    std::vector<std::string> FaultsOf(const std::string& text)
    {
        return Lines(host::CheckRig(Write("rig", text), &modules_));
    }

    static std::vector<std::string> Lines(const host::TCheck& check)
    {
        std::vector<std::string> lines;
        for (const host::TFault& fault : check.faults)
            lines.push_back(host::Text("rig", fault));
        return lines;
    }

    host::CModules modules_{{TEST_MODULES}};
};

TEST_F(CheckTest, FindsNothingInAGoodRig)
{
    EXPECT_THAT(FaultsOf(good_rig), IsEmpty());
    EXPECT_THAT(FaultsOf(With(good_rig, "HWS VERSION = 1.1\n", "")), IsEmpty());
    // What saving adds to a section is no fault in it.
    EXPECT_THAT(FaultsOf(With(good_rig, "VENDOR = Acme",
                              "VENDOR = Acme\nFOCAL LENGTH =\nPIXEL ASPECT RATIO = 1.0\nANGULAR FOV = 0.0, 0.0\n"
                              "LUT GAMMA = $DATA_DIR/gamma.lut")),
                IsEmpty());
}

struct TRow
{
    const char* name;
    const char* from;  ///< of the good rig
    const char* to;
    std::vector<std::string> faults;
};

void PrintTo(const TRow& row, std::ostream* stream)
{
    *stream << row.name;
}

class CheckTable : public CheckTest, public testing::WithParamInterface<TRow>
{
};

TEST_P(CheckTable, TellsFileLineSectionAndKey)
{
    EXPECT_THAT(FaultsOf(With(good_rig, GetParam().from, GetParam().to)), ElementsAreArray(GetParam().faults));
}

std::string NameOf(const testing::TestParamInfo<TRow>& row)
{
    return row.param.name;
}

const TRow rig_rows[] = {
    {"UnknownVersion",
     "VERSION = 1.1",
     "VERSION = 2.0",
     {"rig:3: [RIG] HWS VERSION: found \"2.0\", wanted 1.0 or 1.1"}},
    {"MisspeltRigKey",
     "DATA DIR",
     "DATA DIRS",
     {"rig:4: [RIG] DATA DIRS: found an unknown key, wanted NAME, HWS VERSION or DATA DIR; did you mean \"DATA "
      "DIR\"?"}},
    {"NoDataFolder",
     "DATA DIR = .",
     "DATA DIR = /nowhere/data",
     {"rig:4: [RIG] DATA DIR: found \"/nowhere/data\" (/nowhere/data), wanted a folder that is there"}},
    {"NoRigSection",
     "[RIG]\nNAME = pair\nHWS VERSION = 1.1\nDATA DIR = .\n",
     "",
     {"rig:1: [RIG]: found no such section, wanted one with the keys NAME, HWS VERSION, DATA DIR"}},
    {"MisspeltType",
     "TYPE = SENSOR",
     "TYPE = SENOR",
     {"rig:7: [body] TYPE: found \"SENOR\", wanted CAMERA, SENSOR or DEVICE; did you mean \"SENSOR\"?"}},
    {"NoType", "TYPE = SENSOR\n", "", {"rig:6: [body] TYPE: found nothing, wanted CAMERA, SENSOR or DEVICE"}},
    {"CameraNameIsAPath",
     "[left]",
     "[../left]",
     {"rig:11: [../left]: found a camera of this name, wanted one that can name a folder"}},
};
INSTANTIATE_TEST_SUITE_P(Rig, CheckTable, testing::ValuesIn(rig_rows), NameOf);

const std::string three = "wanted three finite numbers, for instance \"0.0, 0.0, 0.0\"";
const std::string two = "wanted two finite numbers, for instance \"0.0, 0.0\"";
const std::string format = "wanted \"<pixel format> <width>x<height>\", for instance \"Mono8 1280x960\"";

const TRow value_rows[] = {
    {"PoseOfTwo", "POSITION = 0.5, 0, 1", "POSITION = 0.5, 0", {"rig:8: [body] POSITION: found \"0.5, 0\", " + three}},
    {"PoseOfFour",
     "ORIENTATION = 0, 0, 0",
     "ORIENTATION = 0, 0, 0, 0",
     {"rig:9: [body] ORIENTATION: found \"0, 0, 0, 0\", " + three}},
    {"EmptyPose",
     "RELATIVE POSITION = 0, 0.1, 0",
     "RELATIVE POSITION =",
     {"rig:23: [left] RELATIVE POSITION: found \"\", " + three}},
    {"PoseOfWords",
     "POSITION = 0.5, 0, 1",
     "POSITION = 1; 2; 3",
     {"rig:8: [body] POSITION: found \"1; 2; 3\", " + three}},
    {"PoseThatIsNoNumber",
     "POSITION = 0.5, 0, 1",
     "POSITION = 0, nan, 1",
     {"rig:8: [body] POSITION: found \"0, nan, 1\", " + three}},
    {"UnknownPixelFormat",
     "Mono8 8x6\nROI",
     "Mono9 8x6\nROI",
     {"rig:14: [left] FB: found \"Mono9 8x6\", " + format + "; did you mean \"Mono8\"?"}},
    {"FormatWithoutSize", "Mono8 8x6\nROI", "Mono8\nROI", {"rig:14: [left] FB: found \"Mono8\", " + format}},
    {"OnePixelWide",
     "Mono8 8x6\nROI = 0 0 7 5",
     "Mono8 1x6",
     {"rig:14: [left] FB: found \"Mono8 1x6\", wanted an image at least two pixels wide and high (RoI is empty)"}},
    {"NoFormat", "FB = Mono8 8x6\nROI = 0 0 7 5\n", "", {"rig:11: [left] FB: found nothing, " + format}},
    {"RegionOfThree",
     "ROI = 0 0 7 5",
     "ROI = 0 0 7",
     {"rig:15: [left] ROI: found \"0 0 7\", wanted \"width height\" or \"left top right bottom\""}},
    {"RegionOfWords",
     "ROI = 0 0 7 5",
     "ROI = all of it",
     {"rig:15: [left] ROI: found \"all of it\", wanted \"width height\" or \"left top right bottom\""}},
    {"EmptyRegion",
     "ROI = 0 0 7 5",
     "ROI = 3 0 3 5",
     {"rig:15: [left] ROI: found \"3 0 3 5\", wanted a region of the sensor: RoI is empty"}},
    {"RegionBesideTheSensor",
     "ROI = 0 0 7 5",
     "ROI = 8 0 9 5",
     {"rig:15: [left] ROI: found \"8 0 9 5\", wanted a region of the sensor: ROI must be contained in 8x6; "
      "Wrong RoI geometry is: (8, 0, 9, 5) (2, 6)"}},
    {"RegionOverTheEdge",
     "ROI = 0 0 7 5",
     "ROI = 4 0 9 5",
     {"rig:15: [left] ROI: found \"4 0 9 5\", wanted a region within the 8x6 pixels of \"FB\""}},
    {"RegionBetweenBayerRows",
     "FB = Mono8 8x6\nROI = 0 0 7 5",
     "FB = BayerRG8 8x6\nROI = 0 1 7 4",
     {"rig:15: [left] ROI: found \"0 1 7 4\", wanted even left and top edges, which keep the order of the Bayer "
      "pattern"}},
    {"UnknownCameraModel",
     "CAMERA MODEL = PINHOLE",
     "CAMERA MODEL = PINHOL",
     {"rig:16: [left] CAMERA MODEL: found \"PINHOL\", wanted one of PINHOLE, MEI, KANNALA_BRANDT, SPHERICAL, "
      "SPHERICAL:X, SPHERICAL:Y, CYLINDRICAL, CYLINDRICAL:X, CYLINDRICAL:Y, RADIALPINHOLE:X, RADIALPINHOLE:Y, BEV, "
      "DOUBLE_SPHERE; did you mean \"PINHOLE\"?"}},
    {"UnknownLensModel",
     "= BROWN_CONRADY",
     "= BROWN-CONRADY",
     {"rig:17: [left] DISTORTION MODEL: found \"BROWN-CONRADY\", wanted one of BROWN_CONRADY, DIVISION, NO_DISTORTION; "
      "did you mean \"BROWN_CONRADY\"?"}},
    {"CoefficientOfWords",
     "-0.2, 0.1, 0, 0",
     "-0.2, k2, 0, 0",
     {"rig:18: [left] DISTORTION K: found \"-0.2, k2, 0, 0\", wanted finite numbers, for instance "
      "\"-0.27, 0.04, 0.0, 0.0\""}},
    {"CenterOfThree",
     "CENTER = 3.5, 2.5",
     "CENTER = 3.5, 2.5, 0",
     {"rig:19: [left] OPTICAL CENTER: found \"3.5, 2.5, 0\", " + two}},
    {"NegativeFocalLength",
     "LENGTH = 4, 3",
     "LENGTH = -4, 3",
     {"rig:20: [left] PIXEL FOCAL LENGTH: found \"-4, 3\", wanted two focal lengths in pixels, not below 0"}},
    {"BadAspectRatio",
     "VENDOR = Acme",
     "PIXEL ASPECT RATIO = 0",
     {"rig:13: [left] PIXEL ASPECT RATIO: found \"0\", wanted one number above 0"}},
    {"AngleUnderTheNewFormat",
     "PIXEL FOCAL LENGTH = 4, 3",
     "ANGULAR FOV = 0.5, 0.4",
     {"rig:20: [left] ANGULAR FOV: found a key that HWS VERSION 1.1 does not read, wanted \"PIXEL FOCAL LENGTH\", or "
      "the "
      "other HWS VERSION"}},
    {"FocalLengthUnderTheOldFormat",
     "VERSION = 1.1",
     "VERSION = 1.0",
     {"rig:20: [left] PIXEL FOCAL LENGTH: found a key that HWS VERSION 1.0 does not read, wanted \"ANGULAR FOV\", or "
      "the "
      "other HWS VERSION"}},
};
INSTANTIATE_TEST_SUITE_P(Values, CheckTable, testing::ValuesIn(value_rows), NameOf);

const TRow key_rows[] = {
    {"MisspeltKey",
     "PIXEL FOCAL LENGTH",
     "PIXEL FOCAL LENGHT",
     {"rig:20: [left] PIXEL FOCAL LENGHT: found an unknown key, wanted one that a CAMERA has; did you mean \"PIXEL "
      "FOCAL "
      "LENGTH\"?"}},
    {"KeyOfNobody",
     "VENDOR = Acme",
     "COLOUR = red",
     {"rig:13: [left] COLOUR: found an unknown key, wanted one that a CAMERA has"}},
    {"KeyOfTheDriver", "VENDOR = Acme", "TEST KEY = off", {"rig:13: [left] TEST KEY: found off, wanted on"}},
    {"MisspeltKeyOfTheDriver",
     "VENDOR = Acme",
     "TEST KEI = on",
     {"rig:13: [left] TEST KEI: found an unknown key, wanted one that a CAMERA has; did you mean \"TEST KEY\"?"}},
    {"KeyOfAnotherType",
     "ORIENTATION = 0, 0, 0",
     "FB = Mono8 8x6",
     {"rig:9: [body] FB: found a key that a SENSOR does not have, wanted TYPE = CAMERA, or no such key"}},
    {"RelativeToNobody",
     "TO = body",
     "TO = bodi",
     {"rig:22: [left] RELATIVE TO: found \"bodi\", wanted the name of a SENSOR or CAMERA section; did you mean "
      "\"body\"?"}},
    {"RelativeToTheRig",
     "TO = body",
     "TO = RIG",
     {"rig:22: [left] RELATIVE TO: found \"RIG\", wanted the name of a SENSOR or CAMERA section"}},
    {"RelativeToItself",
     "TO = body",
     "TO = left",
     {"rig:22: [left] RELATIVE TO: found a ring: left -> left, wanted poses that end at an absolute one"}},
    {"RelativeInARing",
     "ORIENTATION = 0, 0, 0",
     "RELATIVE TO = left",
     {"rig:9: [body] RELATIVE TO: found a ring: body -> left -> body, wanted poses that end at an absolute one",
      "rig:22: [left] RELATIVE TO: found a ring: left -> body -> left, wanted poses that end at an absolute one"}},
};
INSTANTIATE_TEST_SUITE_P(Keys, CheckTable, testing::ValuesIn(key_rows), NameOf);

const TRow source_rows[] = {
    {"NoSource",
     "SOURCE = test:push 4\n",
     "",
     {"rig:11: [left] SOURCE: found nothing, wanted \"SCHEME:LOCATION\", for instance \"images:left*.png\""}},
    {"SourceWithoutScheme",
     "SOURCE = test:push 4",
     "SOURCE = /tmp/*.png",
     {"rig:24: [left] SOURCE: found \"/tmp/*.png\", wanted \"SCHEME:LOCATION\", for instance \"images:left*.png\""}},
    {"UnknownScheme",
     "SOURCE = test:push 4",
     "SOURCE = tset:push 4",
     {"rig:24: [left] SOURCE: found the scheme \"tset\", wanted one of test; did you mean \"test\"?"}},
    {"DriverFindsNothing",
     "SOURCE = test:push 4",
     "SOURCE = test:nothing",
     {"rig:24: [left] SOURCE: found nothing, wanted something"}},
    {"DriverThrows",
     "SOURCE = test:push 4",
     "SOURCE = test:check throws",
     {"rig:24: [left] SOURCE: found \"test:check throws\", wanted a source that can be checked (the checker broke)"}},
};
INSTANTIATE_TEST_SUITE_P(Sources, CheckTable, testing::ValuesIn(source_rows), NameOf);

const std::string operations =
    "wanted one of Identity, TestChoosy, TestGate, TestOther, TestPass, TestStuck, TestThrow";

const TRow tree_rows[] = {
    {"LineOfTwoWords",
     "TestPass b a fps_factor=0.5\nOUTPUT = b\n",
     "TestPass b\n",
     {"rig:26: [left] PREPROCESS 2: found \"TestPass b\", wanted \"Operation Dst Src [Params]\""}},
    {"UnknownOperation",
     "TestPass b a",
     "TestPas b a",
     {"rig:26: [left] PREPROCESS 2: found the operation \"TestPas\", " + operations + "; did you mean \"TestPass\"?"}},
    {"OperationIsAPath",
     "TestPass b a",
     "../plugins/TestOperations b a",
     {"rig:26: [left] PREPROCESS 2: found the operation \"../plugins/TestOperations\", " + operations}},
    {"UnknownSourceNode",
     "TestPass b a",
     "TestPass b c",
     {"rig:26: [left] PREPROCESS 2: found the source node \"c\", wanted \"Source\" or the node of an earlier line; did "
      "you "
      "mean \"a\"?"}},
    {"SourceNodeOfALaterLine",
     "PREPROCESS 1 = TestPass a Source",
     "PREPROCESS 3 = TestPass a Source",
     {"rig:26: [left] PREPROCESS 2: found a gap in the numbers, wanted \"PREPROCESS 1\" first",
      "rig:26: [left] PREPROCESS 2: found the source node \"a\", wanted \"Source\" or the node of an earlier line, not "
      "of "
      "PREPROCESS 3"}},
    {"NodeOfTheSameName",
     "TestPass b a fps_factor=0.5\nOUTPUT = b",
     "TestPass a Source",
     {"rig:26: [left] PREPROCESS 2: found a second node \"a\", wanted a name of its own"}},
    {"NodeNamedAsTheRoot",
     "TestPass b a fps_factor=0.5\nOUTPUT = b",
     "TestPass Source a",
     {"rig:26: [left] PREPROCESS 2: found a second node \"Source\", wanted a name of its own"}},
    {"RefusedOptions",
     "TestPass b a",
     "TestChoosy b a",
     {"rig:26: [left] PREPROCESS 2: found \"TestChoosy b a fps_factor=0.5\", wanted a line that TestChoosy accepts "
      "(found "
      "no ok, wanted ok=1)"}},
    {"FailureOfTheParentIsToldOnce",
     "TestPass a Source",
     "TestChoosy a Source",
     {"rig:25: [left] PREPROCESS 1: found \"TestChoosy a Source\", wanted a line that TestChoosy accepts (found no ok, "
      "wanted ok=1)"}},
    {"LeadingZero",
     "PREPROCESS 2",
     "PREPROCESS 02",
     {"rig:26: [left] PREPROCESS 02: found a key without a number, wanted \"PREPROCESS 1\" and so on, without leading "
      "zeros",
      "rig:27: [left] OUTPUT: found the node \"b\", wanted \"Source\" or a node of the PREPROCESS lines; did you mean "
      "\"a\"?"}},
    {"UnknownOutput",
     "OUTPUT = b",
     "OUTPUT = far",
     {"rig:27: [left] OUTPUT: found the node \"far\", wanted \"Source\" or a node of the PREPROCESS lines"}},
    {"UnknownRecord",
     "RECORD = a",
     "RECORD = far",
     {"rig:28: [left] RECORD: found the node \"far\", wanted \"Source\" or a node of the PREPROCESS lines"}},
    {"IdentityHasNoNameOfItsOwn",
     "TestPass b a fps_factor=0.5",
     "Identity b a",
     {"rig:27: [left] OUTPUT: found the node \"b\", wanted \"Source\" or a node of the PREPROCESS lines; did you mean "
      "\"a\"?"}},
};
INSTANTIATE_TEST_SUITE_P(Tree, CheckTable, testing::ValuesIn(tree_rows), NameOf);

TEST_F(CheckTest, RefusesCoefficientsOfTheWrongCount)
{
    EXPECT_THAT(FaultsOf(With(good_rig, "K = -0.2, 0.1, 0, 0", "K = -0.2")),
                ElementsAre(HasSubstr("rig:18: [left] DISTORTION K: found ")));
    // The key that is missing cannot be blamed.
    EXPECT_THAT(FaultsOf(With(good_rig, "DISTORTION K = -0.2, 0.1, 0, 0\n", "")),
                ElementsAre(HasSubstr("rig:17: [left] DISTORTION MODEL: found ")));
}

TEST_F(CheckTest, RefusesFpsFactorsThatAreNone)
{
    for (const char* const factor : {"fps_factor=fast", "fps_factor=-1", "fps_factor=nan", "fps_factor="})
        EXPECT_THAT(FaultsOf(With(good_rig, "fps_factor=0.5", factor)),
                    ElementsAre(HasSubstr("rig:26: [left] PREPROCESS 2: found \"TestPass b a fps_factor=")))
            << factor;
}

TEST_F(CheckTest, AnglesOfTheOldFormatAreRadians)
{
    const auto old =
        With(With(good_rig, "VERSION = 1.1", "VERSION = 1.0"), "PIXEL FOCAL LENGTH = 4, 3", "ANGULAR FOV = @");
    EXPECT_THAT(FaultsOf(With(old, "@", "0.7, 0.6")), IsEmpty());
    EXPECT_THAT(FaultsOf(With(old, "@", "45, 30")),
                ElementsAre(HasSubstr("rig:20: [left] ANGULAR FOV: found \"45, 30\", wanted two angles in radians")));
}

TEST_F(CheckTest, TellsAllFaultsOfAFileAtOnceInItsOrder)
{
    auto text = With(good_rig, "HWS VERSION = 1.1", "HWS VERSION 1.1");  // no '='
    text = With(text, "POSITION = 0.5, 0, 1", "POSITION = 0.5");
    text = With(text, "TO = body", "TO = nobody");
    text = With(text, "test:push 4", "test:nothing");
    text = With(text, "TestPass b a", "TestPass b c");
    text += "COLOUR = red\nFB = Mono8 4x4\n";
    std::vector<std::string> places;
    for (const std::string& line : FaultsOf(text))
        places.push_back(line.substr(0, line.find(": found")));
    EXPECT_THAT(places,
                ElementsAre("rig:3", "rig:8: [body] POSITION", "rig:22: [left] RELATIVE TO", "rig:24: [left] SOURCE",
                            "rig:26: [left] PREPROCESS 2", "rig:34: [right] COLOUR", "rig:35"));
}

TEST_F(CheckTest, TriesNodeLinesBesideFaultsThatDoNotTouchThem)
{
    const auto refused = With(good_rig, "TestPass b a", "TestChoosy b a");
    EXPECT_EQ(FaultsOf(With(refused, "RELATIVE POSITION = 0, 0.1, 0", "RELATIVE POSITION = 0")).size(), 2u);

    EXPECT_EQ(FaultsOf(With(refused, "MODEL = PINHOLE", "MODEL = PINHOL")).size(), 2u);
    EXPECT_EQ(FaultsOf(With(refused, "K = -0.2, 0.1, 0, 0", "K = -0.2")).size(), 2u);

    const auto check = host::CheckRig(Write("rig", With(refused, "FB = Mono8 8x6\nROI", "FB = Mono8\nROI")), &modules_);
    EXPECT_THAT(Lines(check), ElementsAre(HasSubstr("rig:14: [left] FB: ")));
    EXPECT_THAT(check.notes, ElementsAre(HasSubstr("[left] the options of its node lines were not tried")));
}

TEST_F(CheckTest, WithoutModulesLooksAtTextsAlone)
{
    auto text = With(good_rig, "TestPass b a", "Unknown b a");
    text = With(text, "SOURCE = test:push 4", "SOURCE = nowhere:1\nLOOP = TRUE");
    EXPECT_THAT(Lines(host::CheckRig(Write("rig", text), nullptr)), IsEmpty());
    EXPECT_THAT(Lines(host::CheckRig(Write("rig", With(text, "OUTPUT = b", "OUTPUT = c")), nullptr)),
                ElementsAre(HasSubstr("[left] OUTPUT: ")));
}

TEST_F(CheckTest, LimitsTheDepthOfATree)
{
    std::string text =
        "[RIG]\n[cam]\nTYPE = CAMERA\nFB = Mono8 8x6\nSOURCE = test:push 1\nPREPROCESS 1 = TestPass n1 Source\n";
    for (int i = 2; i <= 1001; ++i)
        text += "PREPROCESS " + std::to_string(i) + " = TestPass n" + std::to_string(i) + " n" + std::to_string(i - 1) +
                "\n";
    EXPECT_THAT(FaultsOf(text),
                ElementsAre("rig:1006: [cam] PREPROCESS 1001: found 1001 node lines, wanted at most 1000"));
}

TEST_F(CheckTest, KeepsAFaultOnOneLineWhateverTheFileHolds)
{
    const auto faults = FaultsOf(With(good_rig, "OUTPUT = b", "OUTPUT = \x01" + std::string(5000, 'x')));
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_THAT(faults[0], HasSubstr("found the node \"\\x01xxx"));
    EXPECT_THAT(faults[0], HasSubstr("xxx...\" (5001 bytes)"));
    EXPECT_LT(faults[0].size(), 300u);
}

}  // namespace
