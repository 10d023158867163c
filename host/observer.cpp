#include "uwugithost/observer.h"

namespace uwugit::host {

const char* describe(WorkStage stage) {
  switch (stage) {
    case WorkStage::kAsBefore:
      break;
    case WorkStage::kReading:
      return "reading commits";
    case WorkStage::kComparing:
      return "comparing files";
    case WorkStage::kReceiving:
      return "receiving objects";
    case WorkStage::kResolving:
      return "resolving deltas";
    case WorkStage::kCheckingOut:
      return "checking out files";
    case WorkStage::kPacking:
      return "packing objects";
    case WorkStage::kSending:
      return "sending objects";
    case WorkStage::kWaiting:
      return "waiting for another process in this repository";
  }
  return "";
}

}  // namespace uwugit::host
