// SPDX-License-Identifier: GPL-2.0-or-later

// From the published files to what ships: nothing of them may get lost or be turned round on the way.
#include "nets/net_fixture.h"

#include "head_geometry.h"
#include "net_sources.h"
#include "sha256.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace kalvio::engine::testing {
namespace {

const NetSources &sources()
{
	static const NetSources found = find_net_sources(KALVIO_TEST_MODELS);
	return found;
}

// The numbers of a model's outputs in the order of the converted net's.
std::vector<std::vector<double>> model_outputs(const Bytes &bytes, const std::vector<NetOutputRecipe> &recipes,
					       const Values &input)
{
	const TfliteModel model = read_tflite(bytes);
	const std::vector<Values> values = run_model(model, input);
	std::vector<std::vector<double>> outputs;
	for (const NetOutputRecipe &recipe : recipes) {
		for (size_t index = 0; index < values.size(); ++index) {
			if (model.tensors[static_cast<size_t>(model.outputs[index])].name == recipe.name)
				outputs.push_back(values[index].numbers);
		}
	}
	return outputs;
}

void expect_same(const std::shared_ptr<const Net> &net, const Bytes &model, const std::vector<NetOutputRecipe> &recipes,
		 float low, double bar)
{
	const std::vector<float> input = portrait_input(net->input_shape(), low, 1);
	NetRunner runner(net);
	const std::vector<std::vector<float>> outputs = outputs_of(runner, input);
	const auto expected = model_outputs(model, recipes, values_of(net->input_shape(), input));
	ASSERT_EQ(outputs.size(), expected.size());
	for (size_t index = 0; index < outputs.size(); ++index) {
		Values values(net->output_shape(static_cast<int>(index)));
		ASSERT_EQ(values.numbers.size(), expected[index].size());
		values.numbers = expected[index];
		EXPECT_LT(worst_difference(outputs[index], values), bar) << recipes[index].name;
	}
}

TEST(NetConversion, FaceDetectorGivesWhatItsModelGives)
{
	expect_same(shipped_nets().face_detector, sources().face_detector, face_detector_outputs(), -1, 5e-6);
}

TEST(NetConversion, FaceMeshGivesWhatItsModelGives)
{
	expect_same(shipped_nets().face_mesh, sources().face_mesh, face_mesh_outputs(), 0, 5e-6);
}

TEST(NetConversion, PersonMatteGivesWhatItsModelGives)
{
	expect_same(shipped_nets().person_matte, sources().person_matte, person_matte_outputs(), 0, 2e-5);
}

// The plain run of the steps, which the random nets are held to, against the model's graph.
TEST(NetConversion, StepsMeanWhatTheModelsMean)
{
	const NetFile file = convert_model(read_tflite(sources().face_detector), face_detector_outputs());
	const Values input = values_of(file.input, portrait_input(file.input, -1, 1));
	const std::vector<Values> outputs = run_plainly(file, input);
	const auto expected = model_outputs(sources().face_detector, face_detector_outputs(), input);
	for (size_t index = 0; index < outputs.size(); ++index) {
		for (size_t place = 0; place < expected[index].size(); ++place)
			EXPECT_NEAR(outputs[index].numbers[place], expected[index][place], 1e-9);
	}
}

TEST(NetConversion, RefinedPointsAreThoseOfTheirPartOfTheFace)
{
	const Net &mesh = *shipped_nets().face_mesh;
	const auto refines = [&](int output, uint16_t point) {
		const std::span<const uint16_t> indices = mesh.refined_indices(output);
		return std::find(indices.begin(), indices.end(), point) != indices.end();
	};
	EXPECT_TRUE(mesh.refined_indices(0).empty());
	EXPECT_TRUE(refines(1, 13)); // the middle of the upper lip
	EXPECT_TRUE(refines(1, 61));
	EXPECT_TRUE(refines(2, 33)); // the outer corner of the eye at the image's left
	EXPECT_TRUE(refines(3, 263));
	EXPECT_FALSE(refines(2, 263));
	EXPECT_EQ(mesh.refined_indices(4)[0], 468);
	EXPECT_EQ(mesh.refined_indices(5)[4], 477);
	EXPECT_TRUE(mesh.refined_indices(6).empty());
}

// On the portrait, whose face looks at the camera: the refined points lie where the mesh has them, and the irises
// between the corners of their eyes.
TEST(NetConversion, RefinedPointsLieOnTheMesh)
{
	const Net &mesh = *shipped_nets().face_mesh;
	NetRunner runner(shipped_nets().face_mesh);
	const std::vector<std::vector<float>> outputs = outputs_of(runner, portrait_input(mesh.input_shape(), 0, 1));
	const auto x_of = [&](size_t point) {
		return outputs[0][3 * point];
	};
	const float eye_distance = std::fabs(x_of(263) - x_of(33));
	EXPECT_GT(eye_distance, 5);
	for (const int output : {1, 2, 3}) {
		const std::span<const uint16_t> indices = mesh.refined_indices(output);
		for (size_t index = 0; index < indices.size(); ++index) {
			const std::vector<float> &refined = outputs[static_cast<size_t>(output)];
			EXPECT_NEAR(refined[2 * index], x_of(indices[index]), 0.2F * eye_distance) << indices[index];
		}
	}
	EXPECT_GT(outputs[4][0], x_of(33));
	EXPECT_LT(outputs[4][0], x_of(133));
	EXPECT_GT(outputs[5][0], x_of(362));
	EXPECT_LT(outputs[5][0], x_of(263));
}

TEST(NetConversion, HeadIsTheModelsHead)
{
	const HeadGeometry &head = shipped_nets().head;
	EXPECT_EQ(head.vertices.size(), 468U);
	EXPECT_EQ(head.triangles.size(), 898U);
	EXPECT_EQ(head.pose_weights.size(), 33U);
	// The image's left eye, its right one, the tip of the nose and the chin.
	EXPECT_LT(head.vertices[33].x, 0);
	EXPECT_GT(head.vertices[263].x, 0);
	EXPECT_GT(head.vertices[1].z, head.vertices[33].z);
	EXPECT_LT(head.vertices[152].y, head.vertices[33].y);
	EXPECT_EQ(write_head_geometry(read_head_model(sources().head)), write_head_geometry(head));
}

TEST(NetConversion, AnotherFileOfTheSameNameIsRefused)
{
	const ScratchFolder scratch;
	for (const auto &entry : std::filesystem::recursive_directory_iterator(KALVIO_TEST_MODELS)) {
		const std::string name = entry.path().filename().string();
		if (name.ends_with(".tflite") || name.ends_with(".data") || name.ends_with("_loader.js"))
			std::filesystem::copy_file(entry.path(), scratch.place(name));
	}
	EXPECT_NO_THROW(find_net_sources(scratch.place("")));
	std::string matte = read_text(scratch.path("selfie_segmentation_landscape.tflite"));
	matte[matte.size() / 2] = static_cast<char>(matte[matte.size() / 2] ^ 1);
	scratch.write("selfie_segmentation_landscape.tflite", matte);
	EXPECT_THROW(find_net_sources(scratch.place("")), std::runtime_error);
	std::filesystem::remove(scratch.place("selfie_segmentation_landscape.tflite"));
	EXPECT_THROW(find_net_sources(scratch.place("")), std::runtime_error);
}

// The examples of the standard (FIPS 180-2, appendix B).
TEST(Sha256, IsTheStandards)
{
	const auto of = [](const std::string &text) {
		return sha256({reinterpret_cast<const uint8_t *>(text.data()), text.size()});
	};
	EXPECT_EQ(of("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
	EXPECT_EQ(of("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
		  "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
	EXPECT_EQ(of(std::string(1'000'000, 'a')), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

} // namespace
} // namespace kalvio::engine::testing
