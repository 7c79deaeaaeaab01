#pragma once

class QString;

/// Unmounts the disk images' volumes that a run which is no more left mounted below `folder`;
/// nobody's work is in them. Whatever fails is left as it is. A Mac has none of them below a folder
/// of ours.
void unmountVolumesBelow(const QString& folder);
