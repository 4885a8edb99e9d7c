import { render } from "preact";
import { App } from "./App";
import { connect } from "./live";

const root = document.getElementById("app");
if (root) {
  root.textContent = "";
  render(<App />, root);
}
connect();
