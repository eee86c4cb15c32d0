import stiltforge = require('stiltforge');

declare const parameters: stiltforge.AnalysisParameters;
stiltforge.InitAnalyseSlice(parameters);
const callback: stiltforge.SliceCallback = (result) => console.log(result);
stiltforge.AnalyseSlice(new ArrayBuffer(4), 0, callback);
