// SPDX-License-Identifier: Apache-2.0
// Collecting a floor against one plain pass over its entities, and filtering the collected map against copying it. The
// ratio of each pair is the result.
#include "norvexdata/entities/GetZrOwEntityPtrVec.h"
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/trust/OwTrustTool.h"
#include "platform/zrow/Drawing.h"
#include "support/StubService.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <random>

namespace {

// Detail names in each sub-category: few, as diameters and types are, a thousand, the same with half the paths written
// in another way, or one per entity.
enum class Names { Few, Many, ManyInTwoWays, OneEach };

// A floor of the current specialty, made current, in which every path is selected. Each entity has strings of its own.
class Floor {
  public:
    Floor(std::int64_t entities, Names names) {
        constexpr int kCategories = 5;
        constexpr int kSubCategories = 8;
        const std::uint32_t detailNames = names == Names::Few ? 20 : 1000;
        CNorvexData::s_strCurSpec = u"给排水";
        CNorvexData::s_strCurFloor = u"3";
        CNorvexData::s_strSmallMemMap.clear();
        for (int category = 0; category < kCategories; ++category) {
            for (int subCategory = 0; subCategory < kSubCategories; ++subCategory) {
                CNorvexData::s_strSmallMemMap[Name(u"类别%d", category)].insert(Name(u"子类%d", subCategory));
            }
        }
        std::mt19937 random(1);
        for (std::int64_t number = 0; number < entities; ++number) {
            CString path;
            path.Format(u"给排水\\类别%d\\子类%d\\DN%lld", static_cast<int>(random() % kCategories),
                        static_cast<int>(random() % kSubCategories),
                        names == Names::OneEach ? number : static_cast<std::int64_t>(random() % detailNames));
            if (names == Names::ManyInTwoWays && random() % 2 == 0) {
                path += u"\\";
            }
            m_drawing.node({0, 0, 0}, path);
        }
        m_drawing.makeCurrent();
    }
    ~Floor() { CGetZrOwEntityPtrVec::Delete(); }

  private:
    static CString Name(const CString& format, int number) {
        CString name;
        name.Format(format, number);
        return name;
    }

    norvex::Drawing m_drawing;
};

// Opens, closes and casts every entity and reads its two strings.
void PlainPass(benchmark::State& state) {
    const Floor floor(state.range(0), Names::Few);
    for ([[maybe_unused]] auto round : state) {
        std::int64_t units = 0;
        AcDbBlockTable* table = nullptr;
        acdbHostApplicationServices()->workingDatabase()->getBlockTable(table, AcDb::kForRead);
        table->close();
        AcDbBlockTableRecord* space = nullptr;
        table->getAt(ACDB_MODEL_SPACE, space, AcDb::kForRead);
        space->close();
        AcDbBlockTableRecordIterator* made = nullptr;
        space->newIterator(made);
        const std::unique_ptr<AcDbBlockTableRecordIterator> iterator(made);
        for (; !iterator->done(); iterator->step()) {
            AcDbEntity* entity = nullptr;
            iterator->getEntity(entity, AcDb::kForRead);
            entity->close();
            if (const ZrOwEntity* owned = ZrOwEntity::cast(entity)) {
                units += owned->GetSysCode().GetLength() + owned->GetAttName().GetLength();
            }
        }
        benchmark::DoNotOptimize(units);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Collect(benchmark::State& state, Names names) {
    const Floor floor(state.range(0), names);
    for ([[maybe_unused]] auto round : state) {
        benchmark::DoNotOptimize(CGetZrOwEntityPtrVec::GetInstance());
        state.PauseTiming();
        CGetZrOwEntityPtrVec::Delete();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The same into a map that holds every record already.
void CollectAgain(benchmark::State& state, Names names) {
    const Floor floor(state.range(0), names);
    CategoryMap collected;
    CGetZrOwEntityPtrVec* const collection = CGetZrOwEntityPtrVec::GetInstance();
    collection->GetSelEntByCondition(collected, CNorvexData::s_strSmallMemMap);
    for ([[maybe_unused]] auto round : state) {
        collection->GetSelEntByCondition(collected, CNorvexData::s_strSmallMemMap);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void CopyMap(benchmark::State& state) {
    const Floor floor(state.range(0), Names::OneEach);
    CategoryMap collected;
    CGetZrOwEntityPtrVec::GetInstance()->GetSelEntByCondition(collected, CNorvexData::s_strSmallMemMap);
    for ([[maybe_unused]] auto round : state) {
        CategoryMap copy(collected);
        benchmark::DoNotOptimize(copy);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void FilterTrusted(benchmark::State& state) {
    const Floor floor(state.range(0), Names::OneEach);
    // Trusts four of the eight sub-categories on the current floor.
    norvex::test::StubService service;
    service.status = NS_NORVEX::eTrustPart;
    service.trusted.append(norvex::test::Component(u"3", {u"子类0", u"子类2", u"子类4", u"子类6"}));
    CNorvexData::SetNorvexService(&service);
    COwTrustTool trust;
    trust.Init(u"rule", u"name");
    CNorvexData::SetNorvexService(nullptr);
    CGetZrOwEntityPtrVec* const collection = CGetZrOwEntityPtrVec::GetInstance();
    for ([[maybe_unused]] auto round : state) {
        benchmark::DoNotOptimize(collection->GetEntityByBigMemMap(trust));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

constexpr std::int64_t kFewest = 1'000;
constexpr std::int64_t kMost = 1'000'000;

BENCHMARK(PlainPass)->RangeMultiplier(10)->Range(kFewest, kMost)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Collect, few_names, Names::Few)
    ->RangeMultiplier(10)
    ->Range(kFewest, kMost)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Collect, many_names, Names::Many)
    ->RangeMultiplier(10)
    ->Range(kFewest, kMost)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Collect, many_names_in_two_ways, Names::ManyInTwoWays)
    ->RangeMultiplier(10)
    ->Range(kFewest, kMost)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Collect, one_name_each, Names::OneEach)
    ->RangeMultiplier(10)
    ->Range(kFewest, kMost)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(CollectAgain, many_names, Names::Many)
    ->RangeMultiplier(10)
    ->Range(kFewest, kMost)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(CopyMap)->RangeMultiplier(10)->Range(kFewest, kMost)->Unit(benchmark::kMicrosecond);
BENCHMARK(FilterTrusted)->RangeMultiplier(10)->Range(kFewest, kMost)->Unit(benchmark::kMicrosecond);

}  // namespace
