// IFOarchive: construction.
#include "operations/archive.h"

IFOarchive::IFOarchive(callBack* client, const char* archivePath, copyOptions* options, DesignWorkspace* workspace)
    : IFOcopy(client, "", options, workspace) {
    beginAction = KVE_callBackAction::BeginningArchive;
    finishAction = KVE_callBackAction::FinishedArchive;
    finishDetail = archivePath ? archivePath : "";
}
