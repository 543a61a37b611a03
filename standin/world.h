// The virtual cameras behind a stand-in, in a world of its own: the host's library goes
// on in the true one. The file `cameras.cfg` beside the stand-in tells which there are.
#pragma once

// Makes the world at the first call. False: that could not be done, for good; the first
// call has said why on the standard error stream. From any thread.
bool HaveStandIn();
