// Changes that are made whole or not at all.
#include <exception>
#include <memory>
#include <new>

#include "engine/audio_graph.h"
#include "engine/block_factory.h"
#include "engine/graph_memento.h"

namespace quorvel {

AudioGraph::WholeChange::WholeChange(AudioGraph& changedGraph)
    : graph(changedGraph),
      before(std::make_unique<GraphMemento>(changedGraph)),
      configurationsBefore(changedGraph.configurations),
      throwing(changedGraph.throwsWithoutMemory) {}

AudioGraph::WholeChange::~WholeChange() = default;

void AudioGraph::WholeChange::End() {
    if (shortage.HasSeenOne()) throw std::bad_alloc();
}

void AudioGraph::WholeChange::Restore() noexcept {
    before->Restore(graph);
}

void AudioGraph::WholeChange::ConfigureAgain() noexcept {
    if (graph.configurations == configurationsBefore) return;
    try {
        graph.Reconfigure();
    } catch (const std::exception&) {
        graph.valid = false;
        graph.ReleaseList();
    }
}

bool AudioGraph::ReplaceBlock(const GUID& typeId, const void* data, uint32_t size, const GUID& id) {
    const BlockReference old = FindBlock(id);
    if (!old) return false;
    const BlockReference block = CreateBlockWithData(typeId, data, size, id);
    if (!block) return false;
    network.Replace(old, block);
    Rebuild();
    return true;
}

}  // namespace quorvel
