// settings_bench.h - ways to read a component's settings and catalogue, all with the same result.
#ifndef QOR_BENCH_SETTINGS_BENCH_H
#define QOR_BENCH_SETTINGS_BENCH_H

#include "CTraceUtilityCom.h"

namespace qor::bench {

inline constexpr char kSettingsFile[] = "/opt/velmora/qor/um/TraceSetting.ini";
inline constexpr char kCatalogueFile[] = "/opt/velmora/qor/um/TraceSettingMsg.ini";

// Each reads both files into an object of its own, which the caller deletes.
Setting_Info* ReadByInih();
Setting_Info* ReadBySimpleIni();
Setting_Info* ReadByIniparser();
Setting_Info* ReadByGlib();
Setting_Info* ReadByPropertyTree();

}  // namespace qor::bench

#endif  // QOR_BENCH_SETTINGS_BENCH_H
