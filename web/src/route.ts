// Which view is shown, kept in the address so that a tab can be reloaded and shared on this machine:
// #variables/NAME, #files/NAME:LINE.
import { useEffect, useState } from "preact/hooks";

export const kViews = ["variables", "headsets", "files", "timeline", "machine", "packet"] as const;
export type View = (typeof kViews)[number];

export interface Route {
  view: View;
  rest: string;
}

export function readRoute(): Route {
  const [view, ...rest] = decodeURIComponent(location.hash.slice(1)).split("/");
  return { view: (kViews as readonly string[]).includes(view) ? (view as View) : "variables", rest: rest.join("/") };
}

export function goTo(view: View, rest = ""): void {
  location.hash = rest ? `${view}/${encodeURIComponent(rest)}` : view;
}

export function useRoute(): Route {
  const [route, setRoute] = useState(readRoute);
  useEffect(() => {
    const change = () => setRoute(readRoute());
    addEventListener("hashchange", change);
    return () => removeEventListener("hashchange", change);
  }, []);
  return route;
}
