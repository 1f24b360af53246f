#ifndef APIMGMT_COMMON_ERROR_ERRORSTATEENUM_H
#define APIMGMT_COMMON_ERROR_ERRORSTATEENUM_H

// The API's error states, as numbered on the wire: X(name after the prefix, number). The
// enumeration table of the API client is built from the same rows.
#define ERRORSTATEENUM_ROWS(X)                         \
    X(None, 1)                                         \
    X(HostNotAvailable, 2)                             \
    X(LoginError, 3)                                   \
    X(ParsingError, 4)                                 \
    X(ObjectNotAvailable, 5)                           \
    X(MethodNotAvailable, 6)                           \
    X(NotConnected, 7)                                 \
    X(IllegalSessionKey, 8)                            \
    X(InvalidStorageCell, 9)                           \
    X(StorageCellError, 10)                            \
    X(UserPrivilegeError, 11)                          \
    X(ServerAgentError, 12)                            \
    X(ServerAgentConnectionError, 13)                  \
    X(UserRightError, 14)                              \
    X(SpaceRecoveryError, 15)                          \
    X(NotLicensed, 16)                                 \
    X(IncompatibleVersions, 17)                        \
    X(ReportingFilterError, 18)                        \
    X(LegacyBrookFsError, 19)                          \
    X(LegacyBrookFsCommunicationError, 20)             \
    X(LegacyBrookFsDataCollectorRegistrationError, 21) \
    X(ChargebackError, 22)                             \
    X(ReportingError, 23)                              \
    X(DataCollectorError, 24)                          \
    X(InvalidValue, 25)                                \
    X(PhoneHomeError, 26)                              \
    X(AutomatedReportError, 27)                        \
    X(RemoteDataCollectorError, 28)                    \
    X(StorageCellUnknown, 29)                          \
    X(InvalidArguments, 30)                            \
    X(DirectoryServicesError, 31)                      \
    X(BrookCacheError, 32)                             \
    X(BrookCacheAlreadyExists, 33)                     \
    X(LanguageNotSupported, 34)                        \
    X(StorageCellUpdateServerConnectionError, 35)      \
    X(BrookFsConfirmationRequired, 36)                 \
    X(WsdlAccessFailed, 37)                            \
    X(ExpectedError, 38)                               \
    X(PortableVolumeNodeError, 39)                     \
    X(OutOfMemory, 40)                                 \
    X(ScriptFileError, 41)                             \
    X(AuthorizationError, 42)                          \
    X(InvalidPadding, 43)                              \
    X(ConnectionTimedOut, 44)                          \
    X(HandshakeError, 45)                              \
    X(ConnectionRefused, 46)

#define m_ERRORSTATEENUM_ENUMERATOR(name, value) ErrorStateEnum_##name = value,
enum ErrorStateEnum {
    ERRORSTATEENUM_ROWS(m_ERRORSTATEENUM_ENUMERATOR) ErrorStateEnum_UnKnownOrInvalid = 999
};
#undef m_ERRORSTATEENUM_ENUMERATOR

#endif
