// SPDX-License-Identifier: GPL-2.0-or-later
// Asks DuckDB: questions.mjs FOLDER_OF_NODE_MODULES < {"setup": [SQL…], "questions": [SQL…]}; prints the rows of each as JSON.
import { createRequire } from "node:module";
import { readFileSync } from "node:fs";

const { DuckDBInstance } = createRequire(process.argv[2] + "/")("@duckdb/node-api");
const { setup, questions } = JSON.parse(readFileSync(0, "utf8"));
const connection = await (await DuckDBInstance.create(":memory:")).connect();
for (const sql of setup) await connection.run(sql);
const answers = [];
for (const sql of questions) answers.push((await connection.runAndReadAll(sql)).getRowsJson());
console.log(JSON.stringify(answers));
