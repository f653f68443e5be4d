#pragma once

// The frame of a class that implements a stage interface: the interface itself, the state all
// stages share (QTD::ImageProcessorData) and the parameter interface (QTD::ComponentImpl), with
// the interface's common operations forwarded to the shared state.

#include "chain/ImageProcessorData.h"
#include "core/ComponentImpl.h"

#include <brx/BrxImgProcessor.h>

namespace QTD {

template <class Interface>
class ImgProcessorImpl : public Interface, public ImageProcessorData, public ComponentImpl {
public:
    explicit ImgProcessorImpl(BrxComponent* parent = nullptr) : ImageProcessorData(parent) {}

    BrxComponent* GetComponent() override { return static_cast<ComponentImpl*>(this); }
    BrxImage* Output() override { return ImageProcessorData::Output(); }
    BrxImage* Format(bool input) override { return ImageProcessorData::Format(input); }
    bool Enable(bool on) override { return ImageProcessorData::Enable(on); }
    bool IsEnabled() override { return ImageProcessorData::IsEnabled(); }
};

} // namespace QTD
