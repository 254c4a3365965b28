#include "agent/Schema/Schema.h"

#include <array>
#include <map>
#include <memory>

#include "model/Acl/PrefixList.h"
#include "model/Classification/AppRecognition.h"
#include "model/Firewall/Config.h"
#include "model/Firewall/HwCapability.h"
#include "model/Interface/AllIntfStatusDir.h"
#include "model/Ip/Status.h"
#include "model/MatchList/MatchList.h"

namespace Agent {
namespace {

enum class Form { left_out, interfaces, in_place };

struct Deviation {
  const Kiv::TypeData& (*type)();
  std::string_view attribute;
  Form form;
};

const std::array<Deviation, 4> deviations{{
    {&Firewall::Config::staticTypeData, "classMap", Form::left_out},
    {&Firewall::Segment::staticTypeData, "className", Form::interfaces},
    {&Classification::FieldSetL4PortConfig::staticTypeData, "subConfig", Form::in_place},
    {&Classification::FieldSetIpPrefixConfig::staticTypeData, "subConfig", Form::in_place},
}};

const Deviation* deviationOf(const Kiv::TypeData& type, std::string_view attribute) {
  for (const Deviation& deviation : deviations) {
    if (deviation.type().name == type.name && deviation.attribute == attribute) return &deviation;
  }
  return nullptr;
}

void addField(ObjectSchema& schema, const Kiv::AttributeData& attribute) {
  const Deviation* const deviation = deviationOf(*schema.type, attribute.name);
  if (deviation == nullptr) {
    const bool hasChild = attribute.childType != nullptr;
    schema.fields.push_back(
        {attribute.name, &attribute, hasChild ? &schemaOf(attribute.childType()) : nullptr});
  } else if (deviation->form == Form::interfaces) {
    schema.fields.push_back({interfacesField, nullptr, nullptr});
  } else if (deviation->form == Form::in_place) {
    schema.holder = &attribute;
    schema.fields = schemaOf(attribute.childType()).fields;
  }
}

std::vector<Part> makeParts() {
  std::vector<Part> result;
  const auto addAttributes = [&result](const Kiv::TypeData& owner, bool ofSwitch) {
    for (const Kiv::AttributeData& attribute : owner.attributes) {
      const bool hasChild = attribute.childType != nullptr;
      result.push_back({attribute.name, ofSwitch, &owner, &attribute,
                        hasChild ? &schemaOf(attribute.childType()) : nullptr, false});
    }
  };
  const auto addObject = [&result](std::string_view name, const Kiv::TypeData& type,
                                   bool isSource) {
    result.push_back({name, !isSource, &type, nullptr, &schemaOf(type), isSource});
  };
  addObject("hwCapability", Firewall::HwCapability::staticTypeData(), false);
  addAttributes(Interface::AllIntfStatusDir::staticTypeData(), true);
  addAttributes(Ip::Status::staticTypeData(), true);
  addAttributes(Classification::FieldSetConfig::staticTypeData(), false);
  addAttributes(Classification::AppRecognitionConfig::staticTypeData(), false);
  addAttributes(MatchList::Config::staticTypeData(), false);
  addAttributes(Acl::AclListConfig::staticTypeData(), false);
  addObject("source", Firewall::Config::staticTypeData(), true);
  return result;
}

}  // namespace

const ObjectSchema& schemaOf(const Kiv::TypeData& type) {
  static std::map<std::string_view, std::unique_ptr<ObjectSchema>> schemas;
  std::unique_ptr<ObjectSchema>& schema = schemas[type.name];
  if (!schema) {
    schema = std::make_unique<ObjectSchema>();
    schema->type = &type;
    for (const Kiv::AttributeData& attribute : type.attributes) addField(*schema, attribute);
  }
  return *schema;
}

bool isRequired(std::string_view recordField) {
  return recordField == "service" || recordField == "action" || recordField == "prefix";
}

const std::vector<Part>& parts() {
  static const std::vector<Part> all = makeParts();
  return all;
}

const Part* partOf(std::string_view name, bool ofSwitch) noexcept {
  for (const Part& part : parts()) {
    if (part.name == name && part.ofSwitch == ofSwitch) return &part;
  }
  return nullptr;
}

}  // namespace Agent
