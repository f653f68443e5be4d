// The library is assembled from the subsystem archives; this unit only anchors the target.
