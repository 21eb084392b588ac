#pragma once
// Snapshot expectations: a render compared with a reference PNG kept in the
// repository, pixel by pixel within a small tolerance and a small budget of
// differing pixels (antialiasing moves by a shade here and there). On a
// mismatch the render and a difference image (differing pixels red over a
// faded render) are written to the output folder and named in the failure.
// With AURIMO_UPDATE_SNAPSHOTS=1 in the environment the render becomes the
// reference instead.
//
// Thread contract: the test's thread.
//
//   SnapshotFolders folders{AURIMO_SNAPSHOT_REFERENCES, AURIMO_SNAPSHOT_OUTPUT};
//   EXPECT_TRUE(matchesReference(renderer.render(*window), "alert", folders));

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "platform/ui_image.h"

namespace aurimo::test {

struct SnapshotFolders {
  std::string references;  // <name>.png, kept in the repository
  std::string output;      // renders and differences of failed comparisons
};

struct SnapshotTolerance {
  int perChannel = 24;             // a pixel differs when a channel moves further than this
  double differingFraction = 5e-4;  // of all pixels, allowed to differ
};

::testing::AssertionResult matchesReference(const platform::UIImage& render, const std::string& name,
                                            const SnapshotFolders& folders, SnapshotTolerance tolerance = {});

}  // namespace aurimo::test
