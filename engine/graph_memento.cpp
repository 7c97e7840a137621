#include "engine/graph_memento.h"

#include <utility>

namespace quorvel {

GraphMemento::GraphMemento(const AudioGraph& graph)
    : network(graph.network.Save()),
      processingList(graph.processingList),
      outputBlock(graph.outputBlock),
      adapterBlock(graph.adapterBlock),
      suspended(graph.suspended),
      valid(graph.valid),
      isTooWide(graph.isTooWide),
      inputFormat(graph.inputFormat),
      processingFormat(graph.processingFormat),
      outputFormat(graph.outputFormat),
      upmixMode(graph.upmixMode),
      lastActiveMask(graph.lastActiveMask),
      inputScan(graph.inputScan),
      detector(graph.detector),
      holdMs(graph.holdMs) {
    for (std::size_t i = 0; i < graph.bufferPool.Count(); ++i)
        bufferUsers.push_back(graph.bufferPool.At(i).users);
}

void GraphMemento::Restore(AudioGraph& graph) noexcept {
    graph.processingList.Release();
    graph.network.Restore(network);
    graph.processingList = std::move(processingList);
    for (std::size_t i = 0; i < graph.bufferPool.Count(); ++i)
        graph.bufferPool.At(i).users = i < bufferUsers.size() ? bufferUsers[i] : 0;
    graph.outputBlock = std::move(outputBlock);
    graph.adapterBlock = std::move(adapterBlock);
    graph.suspended = suspended;
    graph.valid = valid;
    graph.isTooWide = isTooWide;
    graph.inputFormat = inputFormat;
    graph.processingFormat = processingFormat;
    graph.outputFormat = outputFormat;
    graph.upmixMode = upmixMode;
    graph.lastActiveMask = lastActiveMask;
    graph.inputScan = inputScan;
    graph.detector = detector;
    graph.holdMs = holdMs;
}

}  // namespace quorvel
