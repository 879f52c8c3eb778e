// CQorDefs.h - the plain records of update management: devices, tools, modules, plans, settings.
//
//     CVelmora_DeviceInfo device;
//     device.string1 = "raid0";
//     provider.deviceInfoList1.push_back(device);    // a deep copy
//
// The components that fill a record agree on what its members mean; the library only carries them.
// Members are named by kind and position within that kind. Records are values: a copy is
// independent of its source to any depth. New records are empty, 0 and false.
//
// Threads: one record, one thread at a time.
#ifndef QOR_CQORDEFS_H
#define QOR_CQORDEFS_H

#include <string>
#include <vector>

/// What a repository entry depends on.
struct CVelmora_DependencyInfo {
    std::string string1;
    std::string string2;
    std::string string3;
    std::string string4;
    std::string string5;
    std::string string6;
    std::string string7;
};

/// An application that belongs to a device or a tool.
struct CVelmora_LinkApplicationInfo {
    std::string string1;
    std::string string2;
    std::string string3;
    std::string string4;
};

/// A repository entry with its dependencies.
struct CVelmora_ManageRepositoryInfo {
    std::string string1;
    std::string string2;
    std::string string3;
    std::string string4;
    std::string string5;
    std::string string6;
    int int1 = 0;
    std::string string7;
    std::string string8;
    std::string string9;
    std::string string10;
    bool bool1 = false;
    std::vector<std::string> stringList1;
    std::vector<std::string> stringList2;
    std::vector<std::string> stringList3;
    std::vector<CVelmora_DependencyInfo> dependencyInfoList1;
    std::vector<CVelmora_DependencyInfo> dependencyInfoList2;
};

/// A managed module with its repository entries.
struct CVelmora_ManageModuleInfo {
    std::string string1;
    std::string string2;
    int int1 = 0;
    int int2 = 0;
    int int3 = 0;
    std::vector<CVelmora_ManageRepositoryInfo> manageRepositoryInfoList1;
};

/// A device with its applications and modules.
struct CVelmora_DeviceInfo {
    std::string string1;
    std::string string2;
    std::string string3;
    std::string string4;
    std::string string5;
    std::string string6;
    std::vector<std::string> stringList1;
    std::vector<CVelmora_LinkApplicationInfo> linkApplicationInfoList1;
    std::vector<CVelmora_ManageModuleInfo> manageModuleInfoList1;
};

/// A tool with its applications and modules.
struct CVelmora_ToolInfo {
    std::string string1;
    std::string string2;
    std::vector<std::string> stringList1;
    std::vector<CVelmora_LinkApplicationInfo> linkApplicationInfoList1;
    std::vector<CVelmora_ManageModuleInfo> manageModuleInfoList1;
};

/// A device provider and its devices.
struct CVelmora_DevProviderManageInfo {
    std::string string1;
    std::string string2;
    std::string string3;
    std::vector<CVelmora_DeviceInfo> deviceInfoList1;
};

/// A tool provider and its tools.
struct CVelmora_ToolProviderManageInfo {
    std::string string1;
    std::string string2;
    std::string string3;
    std::vector<CVelmora_ToolInfo> toolInfoList1;
};

/// Version information.
struct CVELMORA_QorVersionInfo {
    std::string string1;
    std::string string2;
    std::string string3;
};

/// One entry of the update log.
struct CVELMORA_VersionUpdateLog {
    std::string string1;
    std::string string2;
    std::string string3;
    std::string string4;
    std::string string5;
    std::string string6;
    std::string string7;
};

/// An update plan.
struct CVELMORA_UpdatePlans {
    std::string string1;
    std::string string2;
    std::string string3;
    std::string string4;
    std::string string5;
    int int1 = 0;
    std::string string6;
    std::string string7;
    std::string string8;
    int int2 = 0;
    std::string string9;
};

/// Parameters of an update with priority.
struct CVelmora_PriorityUpdateParam {
    std::string string1;
    int int1 = 0;
    std::string string2;
    std::string string3;
    std::string string4;
};

/// When downloads run.
struct CVELMORA_DownloadSchedule {
    bool bool1 = false;
    int int1 = 0;
    std::string string1;
    std::string string2;
    std::string string3;
};

/// When updates run.
struct CVELMORA_UpdateSchedule {
    bool bool1 = false;
    int int1 = 0;
    std::string string1;
    std::string string2;
    std::string string3;
};

/// How downloads run.
struct CVELMORA_DownloadSetting {
    int int1 = 0;
    std::string string1;
    std::string string2;
    std::string string3;
    std::string string4;
    std::string string5;
    std::string string6;
    std::string string7;
    std::string string8;
    std::string string9;
    std::string string10;
};

/// How monitoring runs. It has no members.
struct CVELMORA_MonitoringSetting {
};

#endif  // QOR_CQORDEFS_H
