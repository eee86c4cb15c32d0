import {
  Analysis,
  AnalysisError,
  type AnalysisErrorCode,
  type AnalysisParameters,
  estimateMemory,
  type FinishedSupports,
  type GroupImageName,
  type GroupImages,
  groupImageNames,
  type LayerSource,
  type ParameterRow,
  parameterTable,
  type SliceImage,
  type SliceResult,
  type SliceRuns,
  Survey,
  type Verdict,
} from 'stiltforge/analysis';

declare const parameters: AnalysisParameters;
declare const slicer: LayerSource;

const runs: SliceRuns = {
  rowStart: new Uint32Array(2),
  begin: new Uint16Array(0),
  end: new Uint16Array(0),
};
const hanging: SliceRuns = {
  ...runs,
  overhang: { ...runs, blue: new Uint8Array(0), green: new Uint8Array(0) },
};

async function* source(): AsyncGenerator<SliceImage> {
  yield new ArrayBuffer(4);
  yield new Uint8Array(4);
  yield new Uint8ClampedArray(4);
  yield Buffer.alloc(4);
  yield { width: 1, height: 1, data: new Uint8ClampedArray(4) };
}

export async function use(): Promise<void> {
  const analysis = Analysis.create(parameters);
  try {
    const bytes: number = estimateMemory(parameters, { supports: 200 }).total;
    const result: SliceResult = await analysis.analyse(new ArrayBuffer(4));
    const { signal } = new AbortController();
    for await (const { layer } of analysis.run(source(), { signal })) console.log(layer.groupCount);
    for await (const { width } of analysis.run([new ArrayBuffer(4)])) console.log(width, result);
    for await (const { layerIndex } of analysis.run(slicer)) console.log(layerIndex);
    for await (const { layer } of analysis.run([runs, new ArrayBuffer(4)])) console.log(layer);
    await analysis.analyse(hanging);
    const images: GroupImages = await analysis.groupImages(0, 0);
    const combined: Buffer = images.images.combined;
    const [row]: readonly ParameterRow[] = parameterTable();
    console.log(parameters[row.name], row.least, row.most);
    const name: GroupImageName = groupImageNames[0];
    console.log(bytes, combined, images.images[name], analysis.sliceCount, parameterTable().length);
  } catch (error) {
    if (error instanceof AnalysisError) {
      const code: AnalysisErrorCode = error.code;
      console.log(code);
    }
  } finally {
    await analysis.close();
    await analysis[Symbol.asyncDispose]();
  }
}

export async function useAndDispose(): Promise<number> {
  await using analysis = Analysis.create(parameters);
  return analysis.sliceCount;
}

export async function hold(): Promise<void> {
  const scale = { pixelSize: 0.05, layerHeight: 0.05 };
  await using analysis = Analysis.create(parameters, { survey: { ...scale, minimumHeight: 1 } });
  const finished: FinishedSupports = await analysis.finishSupports({ supportArea: 10 });
  const [{ reason, mergedIn, region }] = finished.supports;
  console.log(reason === 'addedForIsland', mergedIn.length, region?.owed);
  const survey = Survey.create({ width: 1, height: 1, ...scale });
  await survey.add(runs, [{ x: 0, y: 0 }]);
  await survey.addLayers(slicer, [{ layer: 0, x: 0, y: 0, isIsland: true }]);
  const verdict: Verdict = await survey.judge({ nearReach: 2 });
  console.log(verdict.islands[0].heldBy, verdict.overhang.area);
}

// @ts-expect-error made by create()
new Survey(1, 1);
// @ts-expect-error the size of a pixel has no default
export const wrongSurvey = () => Analysis.create(parameters, { survey: { layerHeight: 0.05 } });
// @ts-expect-error made by create()
new Analysis(parameters);
// @ts-expect-error runs of another kind of array
export const wrongRuns = (analysis: Analysis) => analysis.analyse({ ...runs, begin: [0] });
// @ts-expect-error not an image
export const wrong = (analysis: Analysis) => analysis.analyse('slice');
export const change = (analysis: Analysis) => {
  // @ts-expect-error parameters do not change
  analysis.parameters.width = 3;
};
