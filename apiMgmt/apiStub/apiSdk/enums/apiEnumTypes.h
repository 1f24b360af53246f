#ifndef APIMGMT_APISTUB_APISDK_ENUMS_APIENUMTYPES_H
#define APIMGMT_APISTUB_APISDK_ENUMS_APIENUMTYPES_H

#include "apiMgmt/common/error/errorStateEnum.h"

// The enumeration types of the API with a table. Rows are X(name after the type's prefix,
// number); the text on the wire is that name, the display text its words.

#define STORAGECELLOPERATIONMODEENUM_ROWS(X) \
    X(Normal, 1)                             \
    X(Maintenance, 2)                        \
    X(Install, 3)                            \
    X(PreProduction, 4)

#define USERPRIVILEGEENUM_ROWS(X) \
    X(Admin, 1)                   \
    X(VolumeManager, 2)           \
    X(Reporter, 3)

#define OBJECTRETURNENCODEENUM_ROWS(X) \
    X(Xml, 1)                          \
    X(Csv, 2)

// Types whose rows are the API manager's vocabulary and come with its schema: each stands with
// its unknown enumerator and an empty table until that schema supplies them.
#define API_ENUM_TYPES_WITHOUT_ROWS(X)             \
    X(AlertCategoryEnum)                           \
    X(AlertStatusEnum)                             \
    X(AlertTypeEnum)                               \
    X(AsyncTaskStateEnum)                          \
    X(CacheCardBatteryStatusEnum)                  \
    X(CacheCardModelEnum)                          \
    X(ChargebackAssignCostByEnum)                  \
    X(ChargebackCostTypeEnum)                      \
    X(ChargebackRunScheduleEnum)                   \
    X(CmmPriorityEnum)                             \
    X(CmmStateEnum)                                \
    X(CmmTypeEnum)                                 \
    X(ConnectivityEnum)                            \
    X(ControllerPortNetworkEnum)                   \
    X(ControllerPortPurposeEnum)                   \
    X(ControllerPortUsageEnum)                     \
    X(CriticalToneEnum)                            \
    X(DataPageSizeEnum)                            \
    X(DataProgressionRunTimeEnum)                  \
    X(DataProgressionTierEnum)                     \
    X(DayOfWeekEnum)                               \
    X(DefaultViewEnum)                             \
    X(DiskControlTypeEnum)                         \
    X(DiskFolderTypeEnum)                          \
    X(DiskHealthEnum)                              \
    X(DiskReportTypeEnum)                          \
    X(DiskTierEnum)                                \
    X(DiskTrackEnum)                               \
    X(DualRedundantProfileEnum)                    \
    X(EmDatabaseTypeEnum)                          \
    X(EmEventSeverityEnum)                         \
    X(EmEventTypeEnum)                             \
    X(EmailFormatEnum)                             \
    X(EnclosureTypeEnum)                           \
    X(ExportReportFileTypeEnum)                    \
    X(FanSpeedEnum)                                \
    X(FeatureEnabledStateEnum)                     \
    X(FilterTimeEnum)                              \
    X(FrontEndTransportTypeEnum)                   \
    X(HistoricalFilterRangeEnum)                   \
    X(HourOfDayEnum)                               \
    X(IoReportTypeEnum)                            \
    X(IpmiAlertTypeEnum)                           \
    X(IpmiHardwareTypeEnum)                        \
    X(IpmiPowerStateEnum)                          \
    X(IscsiConnectionTimeoutEnum)                  \
    X(IscsiConnectionWindowSizeEnum)               \
    X(IscsiNetworkTypeEnum)                        \
    X(LiveVolumePeerStateEnum)                     \
    X(LiveVolumeSwapRoleStateEnum)                 \
    X(LocaleEnum)                                  \
    X(LogLevelEnum)                                \
    X(MappedViaEnum)                               \
    X(MonthOfYearEnum)                             \
    X(MpioEnum)                                    \
    X(MutedEnum)                                   \
    X(NonRedundantProfileEnum)                     \
    X(PhoneHomeFrequencyEnum)                      \
    X(PortableVolumeDiskEraseTypeEnum)             \
    X(PortableVolumeDiskManagementTypeEnum)        \
    X(PortableVolumeDiskStateEnum)                 \
    X(PortableVolumeNodeTypeEnum)                  \
    X(PortableVolumeOperationEnum)                 \
    X(PortableVolumePriorityEnum)                  \
    X(PortableVolumePurposeEnum)                   \
    X(PortableVolumeReplayStateEnum)               \
    X(PortableVolumeStateEnum)                     \
    X(ProviderEnum)                                \
    X(QosBandwidthLimitEnum)                       \
    X(Raid5StripeWidthEnum)                        \
    X(Raid6StripeWidthEnum)                        \
    X(RaidLevelEnum)                               \
    X(RaidRebalanceActionEnum)                     \
    X(RaidRebalanceStateEnum)                      \
    X(RedundancyEnum)                              \
    X(RedundantProfileEnum)                        \
    X(ReplayProfileTypeEnum)                       \
    X(ReplaySourceEnum)                            \
    X(ReplicationRestorePointStateEnum)            \
    X(ReplicationStateEnum)                        \
    X(ReplicationTypeEnum)                         \
    X(ReportFrequencyEnum)                         \
    X(ReportGatheringFrequencyEnum)                \
    X(RestorePointFrequencyEnum)                   \
    X(SaServerTypeEnum)                            \
    X(SaVmWareDatastoreMaxFileSizeEnum)            \
    X(SaWindowsVolumeAllocationSizeEnum)           \
    X(SaWindowsVolumeFormatTypeEnum)               \
    X(ScObjectTypeEnum)                            \
    X(ScheduleTypeEnum)                            \
    X(ServerReportTypeEnum)                        \
    X(ServerTypeEnum)                              \
    X(ServiceTypeEnum)                             \
    X(SnmpTrapTypeEnum)                            \
    X(SpaceRecoveryScheduleEnum)                   \
    X(SshFailedStateEnum)                          \
    X(SshProxyTypeEnum)                            \
    X(SshRunningStateEnum)                         \
    X(SshStatusEnum)                               \
    X(SshTerminalStateEnum)                        \
    X(StatusEnum)                                  \
    X(StorageCellTransportModeEnum)                \
    X(StorageProfileRaidTypeEnum)                  \
    X(StorageTypeStatusEnum)                       \
    X(StorageUnitsFormattingEnum)                  \
    X(StorageUsageReportFrequencyEnum)             \
    X(SysLogFacilityEnum)                          \
    X(ThresholdAlertDefinitionObjectLinkLevelEnum) \
    X(ThresholdAlertDefinitionTypeEnum)            \
    X(ThresholdAlertLevelEnum)                     \
    X(ThresholdAlertObjectTypeEnum)                \
    X(ThresholdAlertTypeEnum)                      \
    X(TimeZoneEnum)                                \
    X(TimeZoneRegionEnum)                          \
    X(TransportTypeEnum)                           \
    X(UpsStatusEnum)                               \
    X(UpsTypeEnum)                                 \
    X(UserSecurityModeEnum)                        \
    X(VirtualMachinePowerStateEnum)                \
    X(VirtualServerMappingEnum)                    \
    X(VolumeReportTypeEnum)                        \
    X(WeekOfMonthEnum)                             \
    X(DrTaskTypeEnum)                              \
    X(AutomatedReportTypeEnum)                     \
    X(AutomatedSubReportTypeEnum)                  \
    X(SrmSelectableReplayEnum)                     \
    X(DataCollectorTypeEnum)                       \
    X(DrReplicationTaskStateEnum)                  \
    X(ThresholdAlertQueryStartTimeTypeEnum)        \
    X(ChartAlertObjectTypeEnum)                    \
    X(ChartTypeEnum)                               \
    X(ManagementApplicationEnum)                   \
    X(StorageCellControllerModelEnum)              \
    X(SyncReplicationModeEnum)                     \
    X(SyncReplicationDataStatusEnum)               \
    X(TaRecommendReasonEnum)                       \
    X(DirectoryServiceTypeEnum)                    \
    X(DirectoryServiceStatusEnum)                  \
    X(DirectoryServiceProtocolEnum)                \
    X(BrookCacheVolumePolicyEnum)                  \
    X(BrookCacheConfigurationManagerTypeEnum)      \
    X(BrookCacheDeviceTypeEnum)                    \
    X(BrookCacheDeviceMemoryTypeEnum)              \
    X(UserTypeFilterEnum)                          \
    X(IpAddressFilterEnum)                         \
    X(LocalPortConditionEnum)                      \
    X(AutomatedReportFrequencyEnum)                \
    X(AutomatedReportVisualTypeEnum)               \
    X(AutomatedReportSubjectEnum)                  \
    X(AutomatedReportObjectTypeEnum)               \
    X(SessionTimeoutEnum)                          \
    X(DiskBypassEnum)                              \
    X(BmcIpAddressSourceEnum)                      \
    X(BrookCacheVolumeBlockPolicyEnum)             \
    X(PrepareToDeleteStateEnum)                    \
    X(BrookCacheDataPolicyEnum)                    \
    X(PhoneHomeInformationEnum)                    \
    X(SoftwareUpdateModeEnum)                      \
    X(IscsiConnectionTimingEnum)                   \
    X(IscsiMtuEnum)                                \
    X(ScInitialConfigurationTasksEnum)             \
    X(ControllerPortCardModelEnum)                 \
    X(DiskEraseCapabilityEnum)                     \
    X(SecureDataStateEnum)                         \
    X(ScSecureDataKeyManagementProtocolEnum)       \
    X(EnclosureModelEnum)                          \
    X(CareLinkFrequencyEnum)                       \
    X(CareLinkInformationEnum)                     \
    X(LanguageLocaleEnum)                          \
    X(IoPortSideEnum)                              \
    X(ExternalDeviceImportTypeEnum)                \
    X(CareLinkLanguageEnum)                        \
    X(UpdateStatusEnum)                            \
    X(InstallServiceImpactEnum)                    \
    X(UpdatableComponentStatusEnum)                \
    X(WizardStyleEnum)                             \
    X(CareLinkContactMethodEnum)                   \
    X(CareLinkCountryEnum)                         \
    X(EmDiscoveredScInitialConfigStepStatusEnum)   \
    X(UtcTimeZoneEnum)                             \
    X(MappingOperationalStateEnum)                 \
    X(AuthenticationMethodEnum)                    \
    X(ControllerPortOptionTypeEnum)                \
    X(FruTicketStatusEnum)                         \
    X(StorageCellSeriesEnum)                       \
    X(DiskUnassignedReasonEnum)                    \
    X(EmDiscoveredStorageCellStatusEnum)           \
    X(ScPeerControllerConfigurationTaskEnum)       \
    X(RemotePortConnectionRoleEnum)                \
    X(ScFailoverStateEnum)                         \
    X(EmDiscoveredScInitialConfigStatusEnum)       \
    X(ScLiveVolumeRoleEnum)                        \
    X(RemoteIscsiConnectionStatusEnum)             \
    X(CareLinkDataSentStatusEnum)                  \
    X(BackgroundProcessStateEnum)                  \
    X(EnclosureProductEnum)

#define API_ENUM_TYPES_WITH_ROWS(X)                                    \
    X(ErrorStateEnum, ERRORSTATEENUM_ROWS)                             \
    X(StorageCellOperationModeEnum, STORAGECELLOPERATIONMODEENUM_ROWS) \
    X(UserPrivilegeEnum, USERPRIVILEGEENUM_ROWS)                       \
    X(ObjectReturnEncodeEnum, OBJECTRETURNENCODEENUM_ROWS)

#define m_STORAGECELLOPERATIONMODEENUM_ENUMERATOR(name, value) \
    StorageCellOperationModeEnum_##name = value,
enum StorageCellOperationModeEnum {
    STORAGECELLOPERATIONMODEENUM_ROWS(m_STORAGECELLOPERATIONMODEENUM_ENUMERATOR)
        StorageCellOperationModeEnum_UnKnownOrInvalid = 999
};
#undef m_STORAGECELLOPERATIONMODEENUM_ENUMERATOR

#define m_USERPRIVILEGEENUM_ENUMERATOR(name, value) UserPrivilegeEnum_##name = value,
enum UserPrivilegeEnum {
    USERPRIVILEGEENUM_ROWS(m_USERPRIVILEGEENUM_ENUMERATOR) UserPrivilegeEnum_UnKnownOrInvalid = 999
};
#undef m_USERPRIVILEGEENUM_ENUMERATOR

#define m_OBJECTRETURNENCODEENUM_ENUMERATOR(name, value) ObjectReturnEncodeEnum_##name = value,
enum ObjectReturnEncodeEnum {
    OBJECTRETURNENCODEENUM_ROWS(m_OBJECTRETURNENCODEENUM_ENUMERATOR)
        ObjectReturnEncodeEnum_UnKnownOrInvalid = 999
};
#undef m_OBJECTRETURNENCODEENUM_ENUMERATOR

#define m_API_EMPTY_ENUM(type) enum type { type##_UnKnownOrInvalid = 999 };
API_ENUM_TYPES_WITHOUT_ROWS(m_API_EMPTY_ENUM)
#undef m_API_EMPTY_ENUM

#endif
