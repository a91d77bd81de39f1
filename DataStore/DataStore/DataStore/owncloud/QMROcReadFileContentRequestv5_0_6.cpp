#include "DataStore/owncloud/QMROcReadFileContentRequestv5_0_6.h"

#include "DataStore/owncloud/QMROcPathUtil.h"

std::string QMROcReadFileContentRequestv5_0_6::constructReadFileContentReqUrl() const {
    // Deliberate: the name enters the query text directly, only the folder goes through the builder.
    return builtUrl("/index.php/apps/files/ajax/download.php",
                    "files=" + QMROcPathUtil::extractFolderOrFileFromPath(filePath()),
                    {{"dir", QMROcPathUtil::extractParentFolderFromPath(filePath())}});
}
