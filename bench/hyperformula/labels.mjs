// The rows of a location label in a spreadsheet engine: the same arithmetic with the same
// dependencies as labels_bench.cpp, a sheet per page, one for the label and one for the options.
// Times are the best of several runs, as little else as possible being counted.
//
//   node labels.mjs [RESULTS]   RESULTS: what labels_bench wrote with --benchmark_out

import { readFileSync } from 'node:fs';
import { HyperFormula } from 'hyperformula';

const pages = 100;
const options = { licenseKey: 'gpl-v3' };

function pageSheet(page, rows) {
  // First line: page number, drawing scale, page scale. Then x and y of the contacts.
  const sheet = [[page + 1, 1, 1]];
  for (let i = page; i < rows; i += pages) sheet.push([0.6 * (i % 26), 0.3 * (i % 37)]);
  return sheet;
}

function labelRow(i) {
  const page = `Page${(i % pages) + 1}!`;
  const line = Math.floor(i / pages) + 2;
  const x = `${page}A${line}`;
  const y = `${page}B${line}`;
  const row = i + 1;
  return [
    `=${page}B1/${page}C1`,
    `=TEXT(${page}A1,"0")`,
    `=IF(${y}<0," - ","")&IF(D${row}<26,"",CHAR(64+INT(D${row}/26)))&CHAR(65+MOD(D${row},26))`,
    `=INT((ABS(${y})-(Doc!A1*A${row}))/(Doc!A2*A${row}))+1+IF(${y}<0,1,0)`,
    `=TEXT(IF(${x}<0,-1,1)*(INT((ABS(${x})-(Doc!A3*A${row}))/(Doc!A4*A${row}))+2),"0")`,
  ];
}

function sheetsOf(rows) {
  const sheets = { Doc: [[0.1], [1.9], [0.1], [1.5]] };
  for (let page = 0; page < pages; ++page) sheets[`Page${page + 1}`] = pageSheet(page, rows);
  sheets.Label = Array.from({ length: rows }, (_, i) => labelRow(i));
  return sheets;
}

function best(runs, run) {
  let least = Infinity;
  for (let i = 0; i < runs; ++i) {
    const start = process.hrtime.bigint();
    run(i);
    least = Math.min(least, Number(process.hrtime.bigint() - start) / 1e6);
  }
  return least;
}

function measure(rows) {
  const sheets = sheetsOf(rows);
  let engine;
  const build = best(3, () => {
    engine?.destroy();
    engine = HyperFormula.buildFromSheets(sheets, options);
  });
  const label = engine.getSheetId('Label');
  const doc = engine.getSheetId('Doc');
  const page = engine.getSheetId('Page2');
  const at = (row, col) => engine.getCellValue({ sheet: label, row, col });
  const before = at(36, 2);
  const grid = best(21, (i) => {
    engine.setCellContents({ sheet: doc, row: 1, col: 0 }, [[i % 2 === 0 ? 0.2 : 0.1]]);
  });
  const number = best(21, (i) => {
    engine.setCellContents({ sheet: page, row: 0, col: 0 }, [[1000 + i]]);
  });
  if (at(36, 2) === before || at(1, 1) !== '1020') throw new Error('the label did not follow');
  engine.destroy();
  return { BM_BuildRows: build, BM_GridOption: grid, BM_PageNumber: number };
}

const own = {};
if (process.argv[2]) {
  const unit = { ns: 1e-6, us: 1e-3, ms: 1, s: 1e3 };
  for (const run of JSON.parse(readFileSync(process.argv[2], 'utf8')).benchmarks) {
    own[run.name] = run.real_time * unit[run.time_unit];
  }
}

const line = (...parts) => console.log(parts.map((p, i) => (i ? p.padStart(16) : p.padEnd(22))).join(''));
line('milliseconds', 'hyperformula', 'ohmwise', 'ratio');
for (const rows of [1000, 10000]) {
  for (const [name, time] of Object.entries(measure(rows))) {
    const key = `${name}/${rows}`;
    const mine = own[key];
    line(key, time.toFixed(3), mine ? mine.toFixed(3) : '-',
      mine ? (time / mine).toFixed(2) : '-');
  }
}
