#include "rig/check.h"

#include <gmock/gmock.h>
#include <boost/algorithm/string/replace.hpp>
#include <sstream>

#include "host/rig_fixture.h"
#include "system/modules.h"

namespace {

using host_test::good_rig;
using host_test::With;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class CheckTest : public host_test::RigFixture
{
protected:
    static std::vector<std::string> Lines(const host::TCheck& check)
    {
        std::vector<std::string> lines;
        for (const host::TFault& fault : check.faults)
            lines.push_back(host::Text("rig", fault));
        return lines;
    }

    /// The faults of a rig as the user reads them, of a file called "rig".
    std::vector<std::string> FaultsOf(const std::string& text)
    {
        return Lines(host::CheckRig(Write("rig", text), &modules_));
    }

    host::CModules modules_{{TEST_MODULES}};
};

// A paragraph is a rig: the edits of the good one as "from => to", then all its faults after "rig:". A fault may go on
// in an indented line, and one that ends in "..." begins so.
const char* const rigs = R"(
HWS VERSION = 1.1\n =>

VENDOR = Acme => FOCAL LENGTH =\nPIXEL ASPECT RATIO = 1.0\nANGULAR FOV = 0.0, 0.0\nLUT GAMMA = $DATA_DIR/rig

VENDOR = Acme => LUT A = $DATA_DIR/gone.lut\nLUT B = rig\nLUT C = $NOWHERE/rig
13: [left] LUT A: found "$DATA_DIR/gone.lut" (...
14: [left] LUT B: found "rig", wanted a path from $INAME, the folder of the rig file, or $DATA_DIR, its data, or an
  absolute one; did you mean "$INAME/rig"?
15: [left] LUT C: found "$NOWHERE/rig", wanted a path from $INAME, ...

VERSION = 1.1 => VERSION = 2.0
3: [RIG] HWS VERSION: found "2.0", wanted 1.0 or 1.1

DATA DIR => DATA DIRS
4: [RIG] DATA DIRS: found an unknown key, wanted NAME, HWS VERSION or DATA DIR; did you mean "DATA DIR"?

DATA DIR = . => DATA DIR = /nowhere/data
4: [RIG] DATA DIR: found "/nowhere/data" (/nowhere/data), wanted a folder that is there

[RIG]\nNAME = pair\nHWS VERSION = 1.1\nDATA DIR = .\n =>
1: [RIG]: found no such section, wanted one with the keys NAME, HWS VERSION, DATA DIR

TYPE = SENSOR\n =>
6: [body] TYPE: found nothing, wanted CAMERA, SENSOR or DEVICE

[left] => [../left]
11: [../left]: found a camera of this name, wanted one that can name a folder, without commas and control characters

[left] => [left,right]
11: [left,right]: found a camera of this name, ...

POSITION = 0.5, 0, 1 => POSITION = 0, nan, 1
ORIENTATION = 0, 0, 0 => ORIENTATION = 0, 0, 0, 0
8: [body] POSITION: found "0, nan, 1", wanted three finite numbers, for instance "0.0, 0.0, 0.0"
9: [body] ORIENTATION: found "0, 0, 0, 0", wanted three finite numbers, for instance "0.0, 0.0, 0.0"

Mono8 8x6\nROI => Mono9 8x6\nROI
14: [left] FB: found "Mono9 8x6", wanted "<pixel format> <width>x<height>", for instance "Mono8 1280x960"; did you mean
  "Mono8"?

Mono8 8x6\nROI = 0 0 7 5 => Mono8 1x6
14: [left] FB: found "Mono8 1x6", wanted an image at least two pixels wide and high (RoI is empty)

FB = Mono8 8x6\nROI = 0 0 7 5\n =>
11: [left] FB: found nothing, wanted "<pixel format> <width>x<height>", for instance "Mono8 1280x960"

ROI = 0 0 7 5 => ROI = 0 0 7
15: [left] ROI: found "0 0 7", wanted "width height" or "left top right bottom"

ROI = 0 0 7 5 => ROI = 3 0 3 5
15: [left] ROI: found "3 0 3 5", wanted a region within the 8x6 pixels of "FB" (RoI is empty)

ROI = 0 0 7 5 => ROI = 8 0 9 5
15: [left] ROI: found "8 0 9 5", wanted a region within the 8x6 pixels of "FB" (ROI must be contained in 8x6;
  Wrong RoI geometry is: (8, 0, 9, 5) (2, 6))

ROI = 0 0 7 5 => ROI = 4 0 9 5
15: [left] ROI: found "4 0 9 5", wanted a region within the 8x6 pixels of "FB"

FB = Mono8 8x6\nROI = 0 0 7 5 => FB = BayerRG8 8x6\nROI = 0 1 7 4
15: [left] ROI: found "0 1 7 4", wanted even left and top edges, which keep the order of the Bayer pattern

CAMERA MODEL = PINHOLE => CAMERA MODEL = PINHOL
16: [left] CAMERA MODEL: found "PINHOL", wanted one of PINHOLE, MEI, KANNALA_BRANDT, SPHERICAL, SPHERICAL:X,
  SPHERICAL:Y, CYLINDRICAL, CYLINDRICAL:X, CYLINDRICAL:Y, RADIALPINHOLE:X, RADIALPINHOLE:Y, BEV, DOUBLE_SPHERE; did
  you mean "PINHOLE"?

-0.2, 0.1, 0, 0 => -0.2, k2, 0, 0
18: [left] DISTORTION K: found "-0.2, k2, 0, 0", wanted finite numbers, for instance "-0.27, 0.04, 0.0, 0.0"

DISTORTION K = -0.2, 0.1, 0, 0\n =>
17: [left] DISTORTION MODEL: found ...

LENGTH = 4, 3 => LENGTH = -4, 3
20: [left] PIXEL FOCAL LENGTH: found "-4, 3", wanted two focal lengths in pixels, not below 0

VENDOR = Acme => PIXEL ASPECT RATIO = 0
13: [left] PIXEL ASPECT RATIO: found "0", wanted one number above 0

VERSION = 1.1 => VERSION = 1.0
20: [left] PIXEL FOCAL LENGTH: found a key that HWS VERSION 1.0 does not read, wanted "ANGULAR FOV", or the other HWS
  VERSION

VERSION = 1.1 => VERSION = 1.0
PIXEL FOCAL LENGTH = 4, 3 => ANGULAR FOV = 0.7, 0.6

VERSION = 1.1 => VERSION = 1.0
PIXEL FOCAL LENGTH = 4, 3 => ANGULAR FOV = 45, 30
20: [left] ANGULAR FOV: found "45, 30", wanted two angles in radians...

PIXEL FOCAL LENGTH => PIXEL FOCAL LENGHT
20: [left] PIXEL FOCAL LENGHT: found an unknown key, wanted one that a CAMERA has; did you mean "PIXEL FOCAL LENGTH"?

VENDOR = Acme => TEST KEY = off
13: [left] TEST KEY: found off, wanted on

ORIENTATION = 0, 0, 0 => FB = Mono8 8x6
9: [body] FB: found a key that a SENSOR does not have, wanted TYPE = CAMERA, or no such key

TO = body => TO = bodi
22: [left] RELATIVE TO: found "bodi", wanted the name of a SENSOR or CAMERA section; did you mean "body"?

ORIENTATION = 0, 0, 0 => RELATIVE TO = left
9: [body] RELATIVE TO: found a ring: body -> left -> body, wanted poses that end at an absolute one
22: [left] RELATIVE TO: found a ring: left -> body -> left, wanted poses that end at an absolute one

SOURCE = test:push 4 => SOURCE = /tmp/*.png
24: [left] SOURCE: found "/tmp/*.png", wanted "SCHEME:LOCATION", for instance "images:left*.png"

SOURCE = test:push 4 => SOURCE = tset:push 4
24: [left] SOURCE: found the scheme "tset", wanted one of test; did you mean "test"?

SOURCE = test:push 4 => SOURCE = test:check throws
24: [left] SOURCE: found "test:check throws", wanted a source that can be checked (the checker broke)

TestPass b a fps_factor=0.5\nOUTPUT = b\n => TestPass b\n
26: [left] PREPROCESS 2: found "TestPass b", wanted "Operation Dst Src [Params]"

TestPass b a => TestPas b a
26: [left] PREPROCESS 2: found the operation "TestPas", wanted one of Identity, TestChoosy, TestGate, TestOther,
  TestPass, TestStuck, TestThrow; did you mean "TestPass"?

TestPass b a => ../plugins/TestOperations b a
26: [left] PREPROCESS 2: found the operation "../plugins/TestOperations", wanted one of Identity, TestChoosy, TestGate,
  TestOther, TestPass, TestStuck, TestThrow

TestPass b a => TestPass b c
26: [left] PREPROCESS 2: found the source node "c", wanted "Source" or the node of an earlier line; did you mean "a"?

PREPROCESS 1 = TestPass a Source => PREPROCESS 3 = TestPass a Source
26: [left] PREPROCESS 2: found a gap in the numbers, wanted "PREPROCESS 1" first
26: [left] PREPROCESS 2: found the source node "a", wanted "Source" or the node of an earlier line, not of PREPROCESS 3

TestPass b a fps_factor=0.5\nOUTPUT = b => TestPass Source a
26: [left] PREPROCESS 2: found a second node "Source", wanted a name of its own

TestPass a Source => TestChoosy a Source
25: [left] PREPROCESS 1: found "TestChoosy a Source", wanted a line that TestChoosy accepts (found no ok, wanted ok=1)

TestPass b a => TestOther b a camera=middle
26: [left] PREPROCESS 2: found "TestOther b a camera=middle fps_factor=0.5", wanted a line that TestOther accepts
  (Camera middle not found)

TestPass b a => TestOther b a camera=right

PREPROCESS 2 => PREPROCESS 02
26: [left] PREPROCESS 02: found a key without a number, wanted "PREPROCESS 1" and so on, without leading zeros
27: [left] OUTPUT: found the node "b", wanted "Source" or a node of the PREPROCESS lines; did you mean "a"?

TestPass b a fps_factor=0.5 => Identity b a
27: [left] OUTPUT: found the node "b", wanted "Source" or a node of the PREPROCESS lines; did you mean "a"?

fps_factor=0.5 => fps_factor=nan
26: [left] PREPROCESS 2: found "TestPass b a fps_factor=...

fps_factor=0.5 => fps_factor=
26: [left] PREPROCESS 2: found "TestPass b a fps_factor=...

# The options of node lines are tried beside faults that do not touch them.
TestPass b a => TestChoosy b a
RELATIVE POSITION = 0, 0.1, 0 => RELATIVE POSITION = 0
23: [left] RELATIVE POSITION: ...
26: [left] PREPROCESS 2: found "TestChoosy b a fps_factor=0.5", wanted a line that TestChoosy accepts (found no ok,
  wanted ok=1)

TestPass b a => TestChoosy b a
K = -0.2, 0.1, 0, 0 => K = -0.2
18: [left] DISTORTION K: ...
26: [left] PREPROCESS 2: ...

# All faults of a file at once, in its order.
HWS VERSION = 1.1 => HWS VERSION 1.1
POSITION = 0.5, 0, 1 => POSITION = 0.5
TO = body => TO = nobody
test:push 4 => test:nothing
TestPass b a => TestPass b c
SOURCE = test:push 3\n => SOURCE = test:push 3\nCOLOUR = red\nFB = Mono8 4x4\n
3: found ...
8: [body] POSITION: found ...
22: [left] RELATIVE TO: found ...
24: [left] SOURCE: found nothing, wanted something
26: [left] PREPROCESS 2: found ...
34: [right] COLOUR: found an unknown key, wanted one that a CAMERA has
35: found ...
)";

TEST_F(CheckTest, TellsFileLineSectionAndKey)
{
    std::istringstream table(rigs);
    int count = 0;
    std::string trace;
    std::string rig = good_rig;
    std::vector<std::string> wanted;
    for (std::string line; std::getline(table, line);) {
        trace += line + '\n';
        if (const auto arrow = line.find(" =>"); arrow != std::string::npos) {
            boost::replace_all(line, "\\n", "\n");
            const auto at = line.find(" =>");
            rig = With(rig, line.substr(0, at), line.substr(std::min(at + 4, line.size())));
        } else if (line.rfind("  ", 0) == 0) {
            wanted.back() += line.substr(1);
        } else if (!line.empty() && line[0] != '#') {
            wanted.push_back("rig:" + line);
        }
        if (table.peek() != '\n' && table.peek() != EOF)
            continue;
        std::vector<std::string> found = FaultsOf(rig);
        for (std::size_t i = 0; i < std::min(found.size(), wanted.size()); ++i)
            if (const auto open = wanted[i].rfind("..."); open == wanted[i].size() - 3)
                found[i].replace(std::min(open, found[i].size()), std::string::npos, "...");
        EXPECT_EQ(found, wanted) << trace;
        ++count;
        trace.clear();
        rig = good_rig;
        wanted.clear();
    }
    EXPECT_GT(count, 40);
}

TEST_F(CheckTest, SaysWhichOptionsCouldNotBeTried)
{
    const auto refused = With(good_rig, "TestPass b a", "TestChoosy b a");
    const auto check = host::CheckRig(Write("rig", With(refused, "FB = Mono8 8x6\nROI", "FB = Mono8\nROI")), &modules_);
    EXPECT_THAT(Lines(check), ElementsAre(HasSubstr("rig:14: [left] FB: ")));
    EXPECT_THAT(check.notes, ElementsAre(HasSubstr("[left] the options of its node lines were not tried")));
}

TEST_F(CheckTest, WithoutModulesLooksAtTextsAlone)
{
    auto text = With(good_rig, "TestPass b a", "Unknown b a");
    text = With(text, "SOURCE = test:push 4", "SOURCE = nowhere:1\nLOOP = TRUE");
    EXPECT_THAT(Lines(host::CheckRig(Write("rig", text), nullptr)), IsEmpty());
}

TEST_F(CheckTest, LimitsTheDepthOfATree)
{
    std::string text = "[RIG]\n[cam]\nTYPE = CAMERA\nFB = Mono8 8x6\nSOURCE = test:push 1\n";
    for (int i = 1; i <= 1001; ++i)
        text += "PREPROCESS " + std::to_string(i) + " = TestPass n" + std::to_string(i) + ' ' +
                (i == 1 ? "Source" : 'n' + std::to_string(i - 1)) + '\n';
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
