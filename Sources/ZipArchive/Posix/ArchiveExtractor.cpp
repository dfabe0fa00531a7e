#include "ZipArchive/Posix/ArchiveExtractor.h"

#include "QuillonCore/Runtime/Posix/WriteSignalShield.h"
#include "QuillonCore/Values/QuillonError.h"
#include "ZipArchive/Posix/ArchiveContents.h"
#include "ZipArchive/Posix/DestinationFolder.h"
#include "ZipArchive/Posix/ExtractionStage.h"
#include "ZipArchive/Posix/TreeWriter.h"

namespace quillon {

void extractArchive(const std::string& archivePath, const std::string& destination, const ZipArchiveLimits& limits,
                    const std::stop_token& stop, const ExtractedItemHandler& didFinishItem) {
  const WriteSignalShield shield;
  const ArchiveContents contents = readArchiveContents(archivePath, limits, stop);

  DestinationFolder folder(destination);
  ExtractionStage stage(folder.get());
  TreeWriter writer(contents, stage.get(), stop, didFinishItem);
  writer.makeFolders();
  writer.writeFiles();
  // Links come last, so that no file can be written through one.
  writer.makeLinks();
  writer.finishFolders();
  if (stop.stop_requested()) throw QuillonCancellationError();
  stage.moveIntoDestination(contents.archive, [&] { writer.restrictFolders(folder.get()); });
  folder.keep();
}

}  // namespace quillon
